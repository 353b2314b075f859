// The probe send path: doIncrementSequenceNumber with every checksum of the packet brought up to
// date, against the same update done by a plain full recomputation of all checksums.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>

#include "BenchGoals.h"
#include "Sondar/probe/ProbePacket.h"
#include "Sondar/probe/ProbeTestUtil.h"

namespace {

struct Shape {
    U8 protocol;
    U16 vlan;
};
const Shape kShapes[] = {{17, 0}, {17, 100}, {6, 0}, {6, 100}};

Rix::Ptr<Sondar::ProbePacket> makeProbe(const Shape& s) {
    return Sondar::probePacketFactory(
        Wirex::EthAddr(0, 0x1c, 0x73, 0, 0, 1), Wirex::EthAddr(0, 0x1c, 0x73, 0, 0, 2), s.vlan,
        Wirex::IpTtl(64), Wirex::IpAddr(10, 1, 0, 1), Wirex::IpAddr(10, 2, 0, 2),
        Wirex::IpProto(s.protocol), 5000, 7000, 1700000000, 123456, 1, Wirex::IpAddr(10, 1, 0, 254),
        7, Wirex::EthAddr(0, 0x1c, 0x73, 0x10, 0, 1), Wirex::EthAddr(0, 0x1c, 0x73, 0x10, 0, 2),
        100, 250000);
}

void BM_IncrementSequenceNumber(benchmark::State& state) {
    const auto p = makeProbe(kShapes[state.range(0)]);
    for (auto _ : state) {
        benchmark::DoNotOptimize(p->doIncrementSequenceNumber());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_IncrementSequenceNumber)->DenseRange(0, 3);

// The baseline: the new sequence number, then every checksum recomputed word by word over all the
// bytes it covers (probe header, IPv4 header, pseudo-header and transport segment).
void BM_PlainRecompute(benchmark::State& state) {
    const auto p = makeProbe(kShapes[state.range(0)]);
    U8* const d = p->pkt()->frontData();
    const U32 size = p->pkt()->bytes();
    const U32 l3 = p->rawPtrs()->dot1QHdr() ? 18 : 14;
    const U32 l4 = l3 + 20;
    const U32 l4Length = size - l4;
    const bool tcp = kShapes[state.range(0)].protocol == 6;
    const U32 l4Checksum = l4 + (tcp ? 16 : 6);
    Sondar::TorkProbeHdr* const hdr = p->torkHdr();
    U8* const probe = d + size - 48;
    auto store = [](U8* at, U16 v) {
        at[0] = static_cast<U8>(v >> 8);
        at[1] = static_cast<U8>(v);
    };
    for (auto _ : state) {
        hdr->sequenceNumberImplIs(Wirex::NetU64(hdr->sequenceNumberImpl().value() + 1));
        store(probe + 2, 0);
        store(probe + 2, SondarTest::plainChecksum(probe, 48));
        store(d + l3 + 10, 0);
        store(d + l3 + 10, SondarTest::plainChecksum(d + l3, 20));
        U8 pseudo[12];
        std::memcpy(pseudo, d + l3 + 12, 8);
        pseudo[8] = 0;
        pseudo[9] = d[l3 + 9];
        store(pseudo + 10, static_cast<U16>(l4Length));
        store(d + l4Checksum, 0);
        const U16 pseudoSum = static_cast<U16>(~SondarTest::plainChecksum(pseudo, 12));
        U16 c = SondarTest::plainChecksum(d + l4, l4Length, pseudoSum);
        if (!tcp && c == 0) c = 0xffff;
        store(d + l4Checksum, c);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_PlainRecompute)->DenseRange(0, 3);

}  // namespace

int main(int argc, char** argv) {
    return Bench::run(argc, argv, [](Bench::Results& r) {
        const char* shapes[] = {"90-byte UDP", "94-byte tagged UDP", "102-byte TCP",
                                "106-byte tagged TCP"};
        for (int i = 0; i < 4; ++i) {
            char what[96], plain[48], fast[48];
            std::snprintf(what, sizeof what, "send path vs plain recomputation, %s", shapes[i]);
            std::snprintf(plain, sizeof plain, "BM_PlainRecompute/%d", i);
            std::snprintf(fast, sizeof fast, "BM_IncrementSequenceNumber/%d", i);
            r.ratioAtLeast(what, plain, fast, 5.0);
            std::snprintf(what, sizeof what, "send path per probe, %s", shapes[i]);
            r.timeAtMost(what, fast, 9.0);
        }
    });
}
