// A stream's counter across epochs; expected figures worked out by hand.
#include "Sondar/stats/Counter.h"

#include <gtest/gtest.h>

namespace Sondar {
namespace {

const Epoch E1(100, 1), E2(200, 2), E3(300, 3);

void feed(Counter& c, const Epoch& e, std::initializer_list<U64> seqs) {
    for (U64 s : seqs) {
        c.epochIs(e);
        c.setCurrentSequenceNumber(s, e);
    }
}

TEST(CounterTest, RestartedTransmitterNumbersFromOne) {
    Counter c;
    feed(c, E1, {10, 11, 12});
    EXPECT_EQ(c.currentEpochSession().minSeqNumRecvd(), 10u);
    EXPECT_EQ(c.currentEpochSession().maxSeqNumRecvd(), 12u);
    c.doCalcLoss();
    EXPECT_EQ(c.probesLost(), 0u);
    EXPECT_EQ(c.lastSequenceNumber(), 12u);

    feed(c, E2, {3, 4});
    EXPECT_EQ(c.prevEpochSession().epoch(), E1);
    EXPECT_EQ(c.currentEpochSession().minSeqNumRecvd(), 1u);
    EXPECT_EQ(c.currentEpochSession().probesLost(), 2u);  // 1 and 2 never came
    c.doCalcLoss();
    EXPECT_EQ(c.probesLost(), 2u);
    EXPECT_EQ(c.probesLostInc(), 2u);

    // a late probe of the old epoch is counted in the previous session
    feed(c, E1, {13});
    EXPECT_EQ(c.epoch(), E1);
    EXPECT_EQ(c.lastSequenceNumber(), 0u);
    EXPECT_EQ(c.prevEpochSession().probesReceived(), 4u);
    EXPECT_EQ(c.currentEpochSession().epoch(), E2);
}

TEST(CounterTest, ThirdEpochFoldsTheOldestIntoItsSuccessor) {
    Counter c;
    feed(c, E1, {1, 4, 3, 3});  // lost 1, misordered 2, duplicated 1
    feed(c, E2, {2, 3});        // lost 1 (probe 1)
    feed(c, E3, {});
    c.epochIs(E3);
    const EpochSession& prev = c.prevEpochSession();
    EXPECT_EQ(prev.epoch(), E2);
    EXPECT_EQ(prev.probesLost(), 2u);
    EXPECT_EQ(prev.probesMisordered(), 2u);
    EXPECT_EQ(prev.probesDuplicated(), 1u);
    EXPECT_EQ(c.currentEpochSession().epoch(), E3);
    EXPECT_EQ(c.currentEpochSession().minSeqNumRecvd(), 1u);

    // A late probe of E2 recomputes that session's loss from its own range: the folded loss goes,
    // the folded misordered and duplicated counts stay (and the duplicate still offsets the loss).
    feed(c, E2, {1});
    EXPECT_EQ(c.prevEpochSession().probesReceived(), 3u);
    EXPECT_EQ(c.prevEpochSession().probesLost(), 1u);
    EXPECT_EQ(c.prevEpochSession().probesMisordered(), 3u);
    EXPECT_EQ(c.prevEpochSession().probesDuplicated(), 1u);
    c.doCalcLoss();
    EXPECT_EQ(c.probesLost(), 1u);
    EXPECT_EQ(c.probesMisordered(), 3u);
    EXPECT_EQ(c.probesDuplicated(), 1u);
}

TEST(CounterTest, LossIncrementWrapsWhenLateProbesLowerTheLoss) {
    Counter c;
    feed(c, E1, {1, 3});
    c.doCalcLoss();
    EXPECT_EQ(c.probesLostInc(), 1u);
    feed(c, E1, {2});
    c.doCalcLoss();
    EXPECT_EQ(c.probesLost(), 0u);
    EXPECT_EQ(c.lastProbesLost(), 1u);
    EXPECT_EQ(c.probesLostInc(), ~U64{0});
    EXPECT_EQ(c.probesMisorderedInc(), 1u);
    EXPECT_EQ(c.probesDuplicatedInc(), 0u);
}

TEST(CounterTest, ProbeOfUnknownEpochOnlyMovesCurrentSequenceNumber) {
    Counter c;
    feed(c, E1, {1, 2});
    const EpochSession before = c.currentEpochSession();
    c.setCurrentSequenceNumber(99, E3);
    EXPECT_EQ(c.currentSequenceNumber(), 99u);
    EXPECT_EQ(c.currentEpochSession(), before);
    EXPECT_TRUE(!c.prevEpochSession());
    // before any epochIs, nothing is counted anywhere
    Counter fresh;
    fresh.setCurrentSequenceNumber(5, E1);
    EXPECT_TRUE(!fresh.currentEpochSession());
    EXPECT_EQ(fresh.probesReceived(), 0u);
}

TEST(CounterTest, TimeStampsComeFromTheFrameworkClock) {
    static double t = 50.0;
    const auto old = Rix::nowSourceIs([] { return t; });
    Counter c;
    EXPECT_EQ(c.createdTime(), 50.0);
    EXPECT_EQ(c.lastChangedEpochTime(), 50.0);
    EXPECT_TRUE(!c);  // equal to a default made at the same instant
    t = 51.0;
    EXPECT_FALSE(!c);
    c.epochIs(E1);
    EXPECT_EQ(c.lastChangedEpochTime(), 51.0);
    EXPECT_EQ(c.createdTime(), 50.0);
    Rix::nowSourceIs(old);
}

}  // namespace
}  // namespace Sondar
