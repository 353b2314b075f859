// The receive rules of a session against a plain transcription of them, and its trace lines.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "Rix/Trace.h"
#include "Sondar/SondarTrace.h"
#include "Sondar/stats/EpochSession.h"

namespace Sondar {
namespace {

// The trace texts of a probe too old for the window and of a duplicate, and the duplicate's
// window snapshot.
TEST(EpochSessionTest, TraceLinesAtLevelSixAndTheDuplicateSnapshot) {
    std::vector<std::string> lines;
    Rix::traceSinkIs([&](const Rix::TraceRecord& r) {
        EXPECT_EQ(r.level, 6u);
        lines.push_back(r.text);
    });
    const U16 before = sondarTrace.levels();
    const auto old = Rix::nowSourceIs([] { return 1234.5; });
    EpochSession s;
    s.setPacket(1);
    s.setPacket(1);  // level off: nothing
    EXPECT_TRUE(lines.empty());
    sondarTrace.levelIs(6, true);
    EpochSession t;
    for (U64 seq : {100, 110, 50, 40, 50}) t.setPacket(seq);
    sondarTrace.levelsIs(before);
    Rix::traceSinkIs(nullptr);
    Rix::nowSourceIs(old);
    const std::vector<std::string> want = {
        "Packet received (seqno - 40) out of the window size of 64 - ignoring it in duplicate "
        "probe "
        "stats calculation",
        "Probe duplicate, seq number : 50, window start seq: 50, mask: 1, seq window: "
        "1154047404513689601",
        "Probes Duplicated Debug Information: start seq: 50, seqWin: 1154047404513689601, mask: 1",
    };
    EXPECT_EQ(lines, want);
    const DuplicateProbeWindow& w = t.duplicateProbeWindow();
    EXPECT_EQ(w.windowStartSeq(), 50u);
    EXPECT_EQ(w.probesSeqWindow(), 1154047404513689601u);
    EXPECT_EQ(w.duplicateWinMask(), 1u);
    EXPECT_EQ(w.eventTime(), 1234.5);
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
        const S32 expected =
            static_cast<S32>(static_cast<U32>(diff < 0 ? -static_cast<S64>(diff) : diff) + 1u);
        const double gap =
            static_cast<double>(static_cast<S64>(expected)) - static_cast<double>(received);
        const double dup = static_cast<double>(duplicated);
        lost = gap >= 0 || dup >= std::fabs(gap) ? static_cast<U64>(dup + gap) : 0;
    }
    std::vector<U64> state() const {
        return {received, max, min, last, misordered, duplicated, window, start, lost};
    }
};

std::vector<U64> stateOf(const EpochSession& s) {
    return {s.probesReceived(),     s.maxSeqNumRecvd(),   s.minSeqNumRecvd(),
            s.lastSequenceNumber(), s.probesMisordered(), s.probesDuplicated(),
            s.probesSeqWindow(),    s.windowStartSeq(),   s.probesLost()};
}

TEST(EpochSessionTest, MatchesThePlainRulesOnLongImpairedStreams) {
    // Long in-order runs (the shortcut) broken by every kind of impairment (the full rules).
    struct Mix {
        U64 first;
        bool floorAtOne;
        unsigned lossPct, latePct, dupPct, jumpPct;
    };
    const Mix mixes[] = {{1, false, 0, 0, 0, 0},  {1, true, 2, 2, 2, 0},
                         {0, false, 5, 5, 5, 1},  {7, true, 30, 10, 10, 2},
                         {1, false, 1, 40, 1, 0}, {1000, true, 0, 0, 30, 5}};
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
            ASSERT_EQ(stateOf(s), p.state()) << "mix " << m << " probe " << n << " seq " << seq;
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
        {100, 37, 100, 37, ~U64{0}},   // a full window: the shortcut applies
        {100, 37, 150, 37, ~U64{0}},   // the latest probe past the maximum: misordered
        {100, 120, 100, 37, ~U64{0}},  // minimum above the probe
        {63, 5, 63, 0, 0},             // window never placed
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
            EXPECT_EQ(stateOf(s), p.state()) << st.max << " " << st.last << " " << seq;
        }
    }
}

}  // namespace
}  // namespace Sondar
