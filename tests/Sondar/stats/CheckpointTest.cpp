#include <gtest/gtest.h>

#include <cmath>

#include "Sondar/stats/Checkpoint.h"

namespace Sondar {
namespace {

TEST(CheckpointTest, AverageIntervalCountsLostProbesAsSent) {
    CheckpointInterval in;
    in.durationIs(10.0);
    EXPECT_EQ(in.averageInterval(), 0.0);  // nothing received or lost: no division
    in.probesReceivedIs(90);
    in.probesLostIs(10);
    EXPECT_DOUBLE_EQ(in.averageInterval(), 0.1);

    EgressCheckpointInterval out;
    out.durationIs(5.0);
    out.probeIntervalIs(99.0);
    EXPECT_EQ(out.averageInterval(), 0.0);
    out.probesSentIs(50);
    EXPECT_DOUBLE_EQ(out.averageInterval(), 0.1);
}

// A NaN duration is neither less nor greater than anything, nor equal to itself.
TEST(CheckpointTest, ANaNFieldEndsTheOrderingWithFalse) {
    CheckpointInterval x, y;
    y.epochChangeIs(true);
    EXPECT_LT(x, y);
    x.durationIs(std::nan(""));
    y.epochChangeIs(false);
    y.durationIs(1.0);
    EXPECT_FALSE(x < y);
    EXPECT_FALSE(y < x);
    EXPECT_FALSE(x == x);
}

}  // namespace
}  // namespace Sondar
