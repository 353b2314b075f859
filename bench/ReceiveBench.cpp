// The receive path per probe: Counter::epochIs + setCurrentSequenceNumber, against the plain
// RTP sequence update of RFC 3550 appendix A.1 (which does no duplicate detection) on the same
// probe stream, in order and with 1% loss, reordering and duplication.
#include <benchmark/benchmark.h>

#include <array>
#include <random>
#include <string>
#include <vector>

#include "BenchGoals.h"
#include "Sondar/stats/Counter.h"

namespace {

// Sequence numbers come in blocks of 1024; each block repeats one impairment pattern, so the
// stream goes on for ever without wrapping back.
struct Pattern {
    std::vector<U16> offsets;
    explicit Pattern(bool impaired) {
        std::mt19937 rng(7);
        for (U16 i = 0; i < 1024; ++i) {
            const unsigned r = rng() % 100;
            if (impaired && r == 0) continue;  // lost
            offsets.push_back(i);
            if (impaired && r == 1) offsets.push_back(i);  // duplicated
        }
        if (impaired) {
            for (std::size_t i = 5; i + 1 < offsets.size(); i += 100) std::swap(offsets[i], offsets[i + 1]);
        }
    }
};

const Pattern kInOrder(false);
const Pattern kImpaired(true);

template <class F>
[[gnu::always_inline]] inline void drive(benchmark::State& state, const Pattern& p, F&& perProbe) {
    U64 block = 0;
    std::size_t i = 0;
    for (auto _ : state) {
        perProbe(block * 1024 + p.offsets[i] + 1);
        if (++i == p.offsets.size()) {
            i = 0;
            ++block;
        }
    }
}

// RFC 3550 appendix A.1, as published.
struct RtpSource {
    U16 max_seq = 0;
    U32 cycles = 0, base_seq = 0, bad_seq = 0, probation = 0, received = 0, expected_prior = 0,
        received_prior = 0;
};
constexpr U32 RTP_SEQ_MOD = 1u << 16;
constexpr int MAX_DROPOUT = 3000, MAX_MISORDER = 100, MIN_SEQUENTIAL = 2;
void init_seq(RtpSource* s, U16 seq) {
    s->base_seq = seq;
    s->max_seq = seq;
    s->bad_seq = RTP_SEQ_MOD + 1;
    s->cycles = 0;
    s->received = 0;
    s->received_prior = 0;
    s->expected_prior = 0;
}
// Everything of update_seq but its probation branch: the form this benchmark used to measure, kept
// for the record.
int update_seq_without_probation(RtpSource* s, U16 seq) {
    const U16 udelta = static_cast<U16>(seq - s->max_seq);
    if (udelta < MAX_DROPOUT) {
        if (seq < s->max_seq) s->cycles += RTP_SEQ_MOD;
        s->max_seq = seq;
    } else if (udelta <= RTP_SEQ_MOD - MAX_MISORDER) {
        if (seq == s->bad_seq) {
            init_seq(s, seq);
        } else {
            s->bad_seq = (seq + 1) & (RTP_SEQ_MOD - 1);
            return 0;
        }
    }
    s->received++;
    return 1;
}

// A source is valid after MIN_SEQUENTIAL packets in sequence; until then it is on probation.
int update_seq(RtpSource* s, U16 seq) {
    if (s->probation) {
        if (seq == s->max_seq + 1) {
            s->probation--;
            s->max_seq = seq;
            if (s->probation == 0) {
                init_seq(s, seq);
                s->received++;
                return 1;
            }
        } else {
            s->probation = MIN_SEQUENTIAL - 1;
            s->max_seq = seq;
        }
        return 0;
    }
    return update_seq_without_probation(s, seq);
}

void BM_Rfc3550(benchmark::State& state, const Pattern* p) {
    RtpSource s;
    init_seq(&s, 0);
    s.probation = MIN_SEQUENTIAL;
    drive(state, *p, [&](U64 seq) { benchmark::DoNotOptimize(update_seq(&s, static_cast<U16>(seq))); });
    benchmark::DoNotOptimize(s);
}

void BM_Rfc3550WithoutProbation(benchmark::State& state, const Pattern* p) {
    RtpSource s;
    init_seq(&s, 1);
    drive(state, *p, [&](U64 seq) {
        benchmark::DoNotOptimize(update_seq_without_probation(&s, static_cast<U16>(seq)));
    });
    benchmark::DoNotOptimize(s);
}

void BM_Counter(benchmark::State& state, const Pattern* p) {
    Sondar::Counter c;
    const Sondar::Epoch e(1700000000, 123456);
    // a receive loop reads the clock once per batch of frames
    Rix::LoopTime batch;
    drive(state, *p, [&](U64 seq) {
        c.epochIs(e);
        c.setCurrentSequenceNumber(seq, e);
    });
    benchmark::DoNotOptimize(c);
}

BENCHMARK_CAPTURE(BM_Rfc3550, inOrder, &kInOrder);
BENCHMARK_CAPTURE(BM_Counter, inOrder, &kInOrder);
BENCHMARK_CAPTURE(BM_Rfc3550, impaired, &kImpaired);
BENCHMARK_CAPTURE(BM_Counter, impaired, &kImpaired);
BENCHMARK_CAPTURE(BM_Rfc3550WithoutProbation, inOrder, &kInOrder);
BENCHMARK_CAPTURE(BM_Rfc3550WithoutProbation, impaired, &kImpaired);

}  // namespace

int main(int argc, char** argv) {
    return Bench::run(argc, argv, [](Bench::Results& r) {
        r.timeAtMost("epochIs + setCurrentSequenceNumber, in order", "BM_Counter/inOrder", 5.0);
        r.timeAtMost("epochIs + setCurrentSequenceNumber, 1% impaired", "BM_Counter/impaired", 5.0);
        r.ratioAtMost("counter vs RFC 3550 sequence update, in order", "BM_Rfc3550/inOrder",
                      "BM_Counter/inOrder", 2.0);
        r.ratioAtMost("counter vs RFC 3550 sequence update, 1% impaired", "BM_Rfc3550/impaired",
                      "BM_Counter/impaired", 2.0);
        for (const std::string n : {"/inOrder", "/impaired"}) {
            const double without = r.ns("BM_Rfc3550WithoutProbation" + n);
            const double counter = r.ns("BM_Counter" + n);
            r.figure("  for the record: vs the update without probation, " + n.substr(1),
                     counter / without, 2.0, counter <= 2 * without, "x the baseline", "<=");
        }
    });
}
