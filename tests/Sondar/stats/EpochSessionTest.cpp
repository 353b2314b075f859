// Sequence scripts fed through a session; every expected figure below was worked out by hand
// from the receive rules, not taken from a run of the code.
#include "Sondar/stats/EpochSession.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <random>
#include <vector>

#include "Rix/Trace.h"
#include "Sondar/SondarTrace.h"

namespace Sondar {
namespace {

std::vector<U64> range(U64 first, U64 last) {
    std::vector<U64> v(last - first + 1);
    std::iota(v.begin(), v.end(), first);
    return v;
}
std::vector<U64> operator+(std::vector<U64> a, const std::vector<U64>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

struct Script {
    const char* name;
    bool floorAtOne;  // a session that follows an earlier epoch
    std::vector<U64> seqs;
    U64 received, lost, misordered, duplicated, windowStart, window;
};

constexpr U64 bit(unsigned n) { return U64{1} << n; }

const Script kScripts[] = {
    {"in order", false, range(1, 10), 10, 0, 0, 0, 1, 0x3ff},
    {"gaps", false, {1, 2, 4, 7}, 4, 3, 0, 0, 1, 0x4b},
    {"late probe fills the gap", true, {1, 2, 4, 3}, 4, 0, 1, 0, 1, 0xf},
    {"duplicate", false, {1, 2, 2}, 3, 0, 0, 1, 1, 0x3},
    {"reordering", false, {1, 3, 2, 4}, 4, 0, 1, 0, 1, 0xf},
    {"duplicate of the latest probe", false, {5, 5}, 2, 0, 0, 1, 5, 0x1},
    {"slide back, then too old", false, {100, 110, 50, 40, 50}, 5, 67, 3, 1, 50,
     bit(0) | bit(50) | bit(60)},
    {"a jump of 64 or more empties the window", false, {1, 2, 100, 2}, 4, 96, 1, 0, 100, 0x1},
    {"first probe zero makes the next a duplicate", false, {0, 1}, 2, 1, 0, 1, 1, 0x1},
    {"forward slide by the distance from the old maximum", false, {1, 60, 70, 8}, 4, 66, 1, 0, 8,
     bit(0) | bit(52) | bit(62)},
    {"duplicate beyond the window is not seen", false, range(1, 70) + std::vector<U64>{3}, 71, 0, 1,
     0, 7, ~U64{0}},
    {"duplicate inside the window after slides", false, range(1, 70) + std::vector<U64>{20}, 71, 0,
     1, 1, 7, ~U64{0}},
};

class EpochSessionScript : public ::testing::TestWithParam<Script> {};

TEST_P(EpochSessionScript, Counts) {
    const Script& s = GetParam();
    EpochSession session;
    session.epochIs(Epoch(7, 8));
    if (s.floorAtOne) session.minSeqNumRecvdIs(1);
    for (U64 seq : s.seqs) session.setPacket(seq);
    EXPECT_EQ(session.probesReceived(), s.received);
    EXPECT_EQ(session.probesLost(), s.lost);
    EXPECT_EQ(session.probesMisordered(), s.misordered);
    EXPECT_EQ(session.probesDuplicated(), s.duplicated);
    EXPECT_EQ(session.windowStartSeq(), s.windowStart);
    EXPECT_EQ(session.probesSeqWindow(), s.window);
    EXPECT_EQ(session.epoch(), Epoch(7, 8));
}

INSTANTIATE_TEST_SUITE_P(Scripts, EpochSessionScript, ::testing::ValuesIn(kScripts),
                         [](const auto& info) {
                             std::string n = info.param.name;
                             for (char& c : n) {
                                 if (!isalnum(static_cast<unsigned char>(c))) c = '_';
                             }
                             return n;
                         });

TEST(EpochSessionTest, FirstProbeAndRangeBookkeeping) {
    EpochSession s;
    EXPECT_TRUE(!s);
    EXPECT_EQ(s.minSeqNumRecvd(), ~U64{0});
    s.setPacket(5);
    EXPECT_EQ(s.maxSeqNumRecvd(), 5u);
    EXPECT_EQ(s.minSeqNumRecvd(), 5u);
    EXPECT_EQ(s.lastSequenceNumber(), 5u);
    EXPECT_FALSE(!s);
}

TEST(EpochSessionTest, DuplicateRecordsTheWindowSnapshot) {
    const auto old = Rix::nowSourceIs([] { return 1234.5; });
    EpochSession s;
    for (U64 seq : {1, 2, 2}) s.setPacket(seq);
    Rix::nowSourceIs(old);
    const DuplicateProbeWindow& w = s.duplicateProbeWindow();
    EXPECT_EQ(w.windowStartSeq(), 1u);
    EXPECT_EQ(w.probesSeqWindow(), 3u);
    EXPECT_EQ(w.duplicateWinMask(), 2u);
    EXPECT_EQ(w.eventTime(), 1234.5);
}

TEST(EpochSessionTest, ExpectedCountUsesThirtyTwoBitArithmetic) {
    // A range of 2^32 + 3 sequence numbers reads as 4 expected probes from the low halves.
    EpochSession s;
    s.setPacket(10);
    s.setPacket(10 + (U64{1} << 32) + 3);
    EXPECT_EQ(s.probesLost(), 2u);
    // min 0 and max 2^31 differ by -2^31 in 32 bits: the absolute value stays negative, and the
    // expected count sign-extends to a huge number.
    EpochSession t;
    t.setPacket(0);
    t.setPacket(U64{1} << 31);
    // 0xFFFFFFFF80000001 - 2 received, in doubles, rounds to 2^64 - 2^31
    EXPECT_EQ(t.probesLost(), 0xFFFFFFFF80000000ull);
}

TEST(EpochSessionTest, TraceLinesAtLevelSix) {
    std::vector<std::string> lines;
    Rix::traceSinkIs([&](const Rix::TraceRecord& r) {
        EXPECT_EQ(r.level, 6u);
        lines.push_back(r.text);
    });
    const U16 before = sondarTrace.levels();
    EpochSession s;
    s.setPacket(1);
    s.setPacket(1);  // level off: nothing
    EXPECT_TRUE(lines.empty());
    sondarTrace.levelIs(6, true);
    EpochSession t;
    for (U64 seq : {100, 110, 50, 40, 50}) t.setPacket(seq);
    sondarTrace.levelsIs(before);
    Rix::traceSinkIs(nullptr);
    const std::vector<std::string> want = {
        "Packet received (seqno - 40) out of the window size of 64 - ignoring it in duplicate probe "
        "stats calculation",
        "Probe duplicate, seq number : 50, window start seq: 50, mask: 1, seq window: 1154047404513689601",
        "Probes Duplicated Debug Information: start seq: 50, seqWin: 1154047404513689601, mask: 1",
    };
    EXPECT_EQ(lines, want);
}

// The receive rules written out plainly, one probe at a time, with the loss taken in doubles: the
// oracle for the session's own code, which takes a shortcut for probes that arrive in order.
struct PlainSession {
    U64 max = 0, min = ~U64{0}, received = 0, last = 0, lost = 0, misordered = 0, duplicated = 0,
        window = 0, start = 0;

    void packet(U64 seq) {
        ++received;
        const U64 oldMax = max;
        max = std::max(max, seq);
        min = std::min(min, seq);
        if (seq < last) {
            ++misordered;
        } else {
            last = seq;
        }
        U64 win = window, first = start;
        if (first == 0) {
            first = start = seq;
        } else if (first <= seq) {
            if (max + 1 - first > 64 && seq > oldMax) {
                const U64 d = seq - oldMax;
                win = d < 64 ? win >> d : 0;
                first = start = d < 64 ? first + d : seq;
            }
        } else if (max + 1 - seq <= 64) {
            win = first - seq < 64 ? win << (first - seq) : 0;
            first = start = seq;
        }
        if (static_cast<S64>(seq - first) >= 0) {
            const U64 bit = U64{1} << ((seq - first) % 64);
            if (win & bit) {
                ++duplicated;
            } else {
                window = win | bit;
            }
        }
        const S32 diff = static_cast<S32>(static_cast<U32>(max) - static_cast<U32>(min));
        const S32 expected = static_cast<S32>(static_cast<U32>(diff < 0 ? -static_cast<S64>(diff) : diff) + 1u);
        const double gap = static_cast<double>(static_cast<S64>(expected)) - static_cast<double>(received);
        const double dup = static_cast<double>(duplicated);
        lost = gap >= 0 || dup >= std::fabs(gap) ? static_cast<U64>(dup + gap) : 0;
    }
};

TEST(EpochSessionTest, MatchesThePlainRulesOnLongImpairedStreams) {
    // Long in-order runs (the shortcut) broken by every kind of impairment (the full rules).
    struct Mix {
        U64 first;
        bool floorAtOne;
        unsigned lossPct, latePct, dupPct, jumpPct;
    };
    const Mix mixes[] = {{1, false, 0, 0, 0, 0},  {1, true, 2, 2, 2, 0},   {0, false, 5, 5, 5, 1},
                         {7, true, 30, 10, 10, 2}, {1, false, 1, 40, 1, 0}, {1000, true, 0, 0, 30, 5}};
    for (unsigned m = 0; m < std::size(mixes); ++m) {
        const Mix& mix = mixes[m];
        std::mt19937_64 rng(m + 1);
        EpochSession s;
        PlainSession p;
        if (mix.floorAtOne) {
            s.minSeqNumRecvdIs(1);
            p.min = 1;
        }
        U64 next = mix.first;
        for (int n = 0; n < 20000; ++n) {
            const unsigned r = static_cast<unsigned>(rng() % 100);
            U64 seq = next++;
            if (r < mix.lossPct) {
                seq = next += rng() % 70;  // a gap, sometimes wider than the window
            } else if (r < mix.lossPct + mix.latePct) {
                seq = next - 1 - std::min<U64>(next - 1, rng() % 90);
            } else if (r < mix.lossPct + mix.latePct + mix.dupPct) {
                seq = next - 1 - std::min<U64>(next - 1, rng() % 3);
                --next;
            } else if (r < mix.lossPct + mix.latePct + mix.dupPct + mix.jumpPct) {
                seq = next += U64{1} << (20 + rng() % 16);  // far ahead, past 2^31 in time
            }
            s.setPacket(seq);
            p.packet(seq);
            ASSERT_EQ(s.probesReceived(), p.received) << "mix " << m << " probe " << n << " seq " << seq;
            ASSERT_EQ(s.maxSeqNumRecvd(), p.max) << "mix " << m << " probe " << n;
            ASSERT_EQ(s.minSeqNumRecvd(), p.min) << "mix " << m << " probe " << n;
            ASSERT_EQ(s.lastSequenceNumber(), p.last) << "mix " << m << " probe " << n;
            ASSERT_EQ(s.probesMisordered(), p.misordered) << "mix " << m << " probe " << n;
            ASSERT_EQ(s.probesDuplicated(), p.duplicated) << "mix " << m << " probe " << n;
            ASSERT_EQ(s.probesSeqWindow(), p.window) << "mix " << m << " probe " << n;
            ASSERT_EQ(s.windowStartSeq(), p.start) << "mix " << m << " probe " << n;
            ASSERT_EQ(s.probesLost(), p.lost) << "mix " << m << " probe " << n << " seq " << seq;
        }
    }
}

TEST(EpochSessionTest, InOrderShortcutRespectsStateSetFromOutside) {
    // A session whose fields were set through its writers, not by its own probes: the next probe
    // still follows the full rules.
    struct Start {
        U64 max, min, last, start, window;
    };
    const Start starts[] = {
        {100, 37, 100, 37, ~U64{0}},  // a full window: the shortcut applies
        {100, 37, 150, 37, ~U64{0}},  // the latest probe past the maximum: misordered
        {100, 120, 100, 37, ~U64{0}}, // minimum above the probe
        {63, 5, 63, 0, 0},            // window never placed
    };
    for (const Start& st : starts) {
        EpochSession s;
        PlainSession p;
        s.maxSeqNumRecvdIs(p.max = st.max);
        s.minSeqNumRecvdIs(p.min = st.min);
        s.lastSequenceNumberIs(p.last = st.last);
        s.windowStartSeqIs(p.start = st.start);
        s.probesSeqWindowIs(p.window = st.window);
        for (U64 seq : {st.max + 1, st.max + 3, st.max + 66}) {
            s.setPacket(seq);
            p.packet(seq);
            EXPECT_EQ(s.probesMisordered(), p.misordered) << st.max << " " << st.last;
            EXPECT_EQ(s.minSeqNumRecvd(), p.min);
            EXPECT_EQ(s.lastSequenceNumber(), p.last);
            EXPECT_EQ(s.windowStartSeq(), p.start);
            EXPECT_EQ(s.probesSeqWindow(), p.window);
            EXPECT_EQ(s.probesDuplicated(), p.duplicated);
            EXPECT_EQ(s.probesLost(), p.lost);
        }
    }
}

}  // namespace
}  // namespace Sondar
