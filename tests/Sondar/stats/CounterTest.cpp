// Sequence scripts fed through a stream's counter; every expected figure below was worked out by
// hand from the receive rules, not taken from a run of the code.
#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "Sondar/stats/Counter.h"

namespace Sondar {
namespace {

std::vector<U64> range(U64 first, U64 last, std::vector<U64> then = {}) {
    std::vector<U64> v(last - first + 1);
    std::iota(v.begin(), v.end(), first);
    v.insert(v.end(), then.begin(), then.end());
    return v;
}

const Epoch kEpochs[] = {Epoch(), Epoch(100, 1), Epoch(200, 2), Epoch(300, 3)};
constexpr U64 kHuge = ~U64{0};

// Probes of epoch 1 to 3, announced through epochIs first unless told otherwise; epoch 0 stands
// for a doCalcLoss.
struct Step {
    int epoch;
    std::vector<U64> seqs;
    bool announced = true;
};

struct Script {
    const char* name;
    std::vector<Step> steps;
    U64 lost, misordered, duplicated, lostInc;  // after a final doCalcLoss
    U64 currentReceived, prevReceived;
};

// clang-format off
const Script kScripts[] = {
    {"in order", {{1, range(1, 10)}}, 0, 0, 0, 0, 10, 0},
    {"gaps", {{1, {1, 2, 4, 7}}}, 3, 0, 0, 3, 4, 0},
    {"duplicate offsets nothing in the loss", {{1, {1, 2, 2}}}, 0, 0, 1, 0, 3, 0},
    {"reordering", {{1, {1, 3, 2, 4}}}, 0, 1, 0, 0, 4, 0},
    {"duplicate of the latest probe", {{1, {5, 5}}}, 0, 0, 1, 0, 2, 0},
    {"slide back, then too old", {{1, {100, 110, 50, 40, 50}}}, 67, 3, 1, 67, 5, 0},
    {"a jump of 64 or more empties the window", {{1, {1, 2, 100, 2}}}, 96, 1, 0, 96, 4, 0},
    {"forward slide by the distance from the old maximum", {{1, {1, 60, 70, 8}}}, 66, 1, 0, 66, 4,
     0},
    {"duplicate beyond the window is not seen", {{1, range(1, 70, {3})}}, 0, 1, 0, 0, 71, 0},
    {"duplicate inside the window after slides", {{1, range(1, 70, {20})}}, 0, 1, 1, 0, 71, 0},
    {"first probe zero makes the next a duplicate", {{1, {0, 1}}}, 1, 0, 1, 1, 2, 0},
    // 2^32 + 4 numbers read as 4 expected from the low halves; a range of 2^31 turns the 32-bit
    // absolute value negative and the expected count sign-extends (in doubles, 2^64 - 2^31).
    {"expected count in 32 bits", {{1, {10, 10 + (U64{1} << 32) + 3}}}, 2, 0, 0, 2, 2, 0},
    {"range of 2^31", {{1, {0, U64{1} << 31}}}, 0xFFFFFFFF80000000, 0, 1, 0xFFFFFFFF80000000, 2, 0},
    {"doCalcLoss after a late probe fills a gap", {{1, {1, 3}}, {0, {}}, {1, {2}}}, 0, 1, 0, kHuge,
     3, 0},
    // The restarted transmitter numbers from 1: 1 and 2 are lost. The late 11 of the old epoch
    // lands in the previous session and lowers its loss after the switch.
    {"restart, then a late probe of the old epoch",
     {{1, {10, 12}}, {2, {3, 4}}, {0, {}}, {1, {11}}},
     2, 1, 0, kHuge, 2, 3},
    // Epoch 1: lost 1, misordered 2, duplicated 1; epoch 2: lost 1. The third epoch folds the
    // first into the second (lost 2); a late probe of epoch 2 recomputes its loss from its own
    // range, dropping the folded loss but keeping the folded misordered and duplicated counts.
    {"third epoch folds the oldest into its successor",
     {{1, {1, 4, 3, 3}}, {2, {2, 3}}, {3, {}}, {0, {}}, {2, {1}}},
     1, 3, 1, kHuge, 0, 3},
    {"probe of an unknown epoch counts nowhere", {{1, {1, 2}}, {3, {99}, false}}, 0, 0, 0, 0, 2, 0},
    {"nothing counts before the first epoch", {{1, {5}, false}}, 0, 0, 0, 0, 0, 0},
};
// clang-format on

void PrintTo(const Script& s, std::ostream* os) { *os << s.name; }

class CounterScript : public ::testing::TestWithParam<Script> {};

TEST_P(CounterScript, Counts) {
    const Script& s = GetParam();
    Counter c;
    Epoch lastEpoch;
    U64 lastSeq = 0;
    for (const Step& step : s.steps) {
        if (step.epoch == 0) {
            c.doCalcLoss();
            continue;
        }
        const Epoch& e = kEpochs[step.epoch];
        if (step.announced) c.epochIs(lastEpoch = e);
        for (U64 seq : step.seqs) c.setCurrentSequenceNumber(lastSeq = seq, e);
    }
    c.doCalcLoss();
    EXPECT_EQ(c.probesLost(), s.lost);
    EXPECT_EQ(c.probesMisordered(), s.misordered);
    EXPECT_EQ(c.probesDuplicated(), s.duplicated);
    EXPECT_EQ(c.probesLostInc(), s.lostInc);
    EXPECT_EQ(c.currentEpochSession().probesReceived(), s.currentReceived);
    EXPECT_EQ(c.prevEpochSession().probesReceived(), s.prevReceived);
    EXPECT_EQ(c.epoch(), lastEpoch);
    EXPECT_EQ(c.currentSequenceNumber(), lastSeq);
    EXPECT_EQ(c.lastSequenceNumber(), lastSeq);
}

INSTANTIATE_TEST_SUITE_P(Scripts, CounterScript, ::testing::ValuesIn(kScripts),
                         [](const auto& info) {
                             std::string n = info.param.name;
                             for (char& c : n) {
                                 if (!isalnum(static_cast<unsigned char>(c))) c = '_';
                             }
                             return n;
                         });

// A default counter's time stamps are the moment it is made, so `!` holds only at that instant.
TEST(CounterTest, TimeStampsComeFromTheFrameworkClock) {
    static double t = 50.0;
    const auto old = Rix::nowSourceIs([] { return t; });
    Counter c;
    EXPECT_TRUE(!c);
    t = 51.0;
    EXPECT_FALSE(!c);
    c.epochIs(kEpochs[1]);
    EXPECT_EQ(c.lastChangedEpochTime(), 51.0);
    EXPECT_EQ(c.createdTime(), 50.0);
    Rix::nowSourceIs(old);
}

}  // namespace
}  // namespace Sondar
