// ipChecksumCalc against a plain RFC 1071 loop (16-bit words into a 32-bit sum), at the sizes of
// a probe's headers and of a full frame, on aligned and misaligned data.
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "BenchGoals.h"
#include "Wirex/PlainChecksum.h"
#include "Wirex/Checksum.h"

namespace {

const int kSizes[] = {20, 48, 56, 106, 1500};

// The baseline: RFC 1071, section 4.1, one 16-bit word per step. The optimizer may not turn it
// into vector code, so that it stays the plain loop; plainChecksumAutoVec below is the same
// source with the compiler's vectorizer allowed, shown for the record.
using SondarTest::plainChecksum;

U16 plainChecksumAutoVec(const U8* p, std::size_t n) {
    U32 sum = 0;
    while (n > 1) {
        sum += static_cast<U32>((p[0] << 8) | p[1]);
        p += 2;
        n -= 2;
    }
    if (n > 0) sum += static_cast<U32>(p[0] << 8);
    while (sum >> 16) sum = (sum & 0xffff) + (sum >> 16);
    return static_cast<U16>(~sum);
}

const U8* data(int offset) {
    static std::vector<U8>* buf = [] {
        auto* v = new std::vector<U8>(2048 + 64);
        std::mt19937 rng(1);
        for (auto& b : *v) b = static_cast<U8>(rng());
        return v;
    }();
    // 64-byte aligned start, plus the offset
    auto base = reinterpret_cast<std::uintptr_t>(buf->data());
    return buf->data() + ((64 - base % 64) % 64) + offset;
}

// state.range(0): size; state.range(1): misalignment in bytes.
void BM_Plain(benchmark::State& state) {
    const U8* p = data(static_cast<int>(state.range(1)));
    const std::size_t n = static_cast<std::size_t>(state.range(0));
    for (auto _ : state) {
        benchmark::DoNotOptimize(p);
        U16 c = plainChecksum(p, n);
        benchmark::DoNotOptimize(c);
    }
}

void BM_PlainAutoVec(benchmark::State& state) {
    const U8* p = data(static_cast<int>(state.range(1)));
    const std::size_t n = static_cast<std::size_t>(state.range(0));
    for (auto _ : state) {
        benchmark::DoNotOptimize(p);
        U16 c = plainChecksumAutoVec(p, n);
        benchmark::DoNotOptimize(c);
    }
}

void BM_Fast(benchmark::State& state) {
    const U8* p = data(static_cast<int>(state.range(1)));
    const std::size_t n = static_cast<std::size_t>(state.range(0));
    for (auto _ : state) {
        benchmark::DoNotOptimize(p);
        Wirex::IpChecksum c = Wirex::ipChecksumCalc(p, n);
        benchmark::DoNotOptimize(c);
    }
}

void sizes(benchmark::internal::Benchmark* b) {
    for (int misalign : {0, 1})
        for (int n : kSizes) b->Args({n, misalign});
}

BENCHMARK(BM_Plain)->Apply(sizes);
BENCHMARK(BM_PlainAutoVec)->Apply(sizes);
BENCHMARK(BM_Fast)->Apply(sizes);

}  // namespace

int main(int argc, char** argv) {
    return Bench::run(argc, argv, [](Bench::Results& r) {
        for (int misalign : {0, 1}) {
            for (int n : kSizes) {
                char buf[96];
                std::snprintf(buf, sizeof buf, "/%d/%d", n, misalign);
                const std::string args = buf;
                std::snprintf(buf, sizeof buf, "ipChecksumCalc vs plain loop, %d B, %s", n,
                              misalign ? "misaligned" : "aligned");
                const std::string what = buf;
                if (n < 48) {
                    // below 48 bytes there is no goal; the figure is shown for the record
                    const double b = r.ns("BM_Plain" + args), s = r.ns("BM_Fast" + args);
                    r.figure(what, s > 0 ? b / s : 0, 1.0, s > 0 && b / s >= 1.0, "x faster", ">=");
                } else {
                    r.ratioAtLeast(what, "BM_Plain" + args, "BM_Fast" + args, 3.0);
                }
                const double v = r.ns("BM_PlainAutoVec" + args), s = r.ns("BM_Fast" + args);
                std::printf("     (for the record: %.2fx the auto-vectorized plain loop)\n",
                            s > 0 ? v / s : 0.0);
            }
        }
    });
}
