// The receive path with its stream lookup: for each probe, find the stream's record in the
// ingress statistics table (65,536 streams, the writer's side of the shared-memory table) and count
// the probe in its counter. Probes of different streams arrive interleaved in random order.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <unistd.h>
#include <vector>

#include "BenchGoals.h"
#include "Sondar/stats/StreamRecords.h"
#include "Vault/VaultMap.h"

namespace {

using Sondar::IngressStream;
using Sondar::IngressStreamStatisticsTableEntry;
using Table = Vault::VaultMap<IngressStream, IngressStreamStatisticsTableEntry, Rix::DefaultHash<IngressStream>>;

constexpr U32 kStreams = 65536;

IngressStream streamKey(U32 i) {
    IngressStream k;
    k.srcEthAddrIs(Wirex::EthAddr("00:1c:73:00:00:01"));
    k.dstEthAddrIs(Wirex::EthAddr("00:1c:73:00:00:02"));
    k.dstIpAddrIs(Wirex::IpAddr(0x0a000001u));
    k.srcIpAddrIs(Wirex::IpAddr(0x0b000000u + (i >> 4)));
    k.srcPortIs(static_cast<U16>(49200 + (i & 15)));
    k.ttlIs(64);
    k.ipTypeIs(Wirex::IpProto(17));
    k.egressIntfIs(Wirex::IntfId("Ethernet1"));
    k.egressIntfIpIs(Wirex::IpAddr(0x0a000101u));
    k.egressIfIndexIs(3);
    k.ingressIntfIs(Wirex::IntfId("Ethernet" + std::to_string(1 + (i & 31))));
    return k;
}

struct Fixture {
    Vault::CollectionControl control;
    Table table;
    std::vector<IngressStream> keys;
    std::vector<U32> order;  // the stream of each arriving probe
    std::vector<U64> nextSeq;
    Sondar::Epoch epoch{1700000000, 1};

    Fixture() : control("sondar-bench-streams-" + std::to_string(getpid()), kStreams) {
        Vault::CollectionControl::remove(control.name());
        table.mount(control);
        for (U32 i = 0; i < kStreams; ++i) {
            keys.push_back(streamKey(i));
            IngressStreamStatisticsTableEntry e;
            e.keyIs(keys.back());
            table.safeWrite(keys.back(), e);
        }
        std::mt19937 rng(11);
        for (int round = 0; round < 8; ++round) {
            std::vector<U32> perm(kStreams);
            std::iota(perm.begin(), perm.end(), 0u);
            std::shuffle(perm.begin(), perm.end(), rng);
            order.insert(order.end(), perm.begin(), perm.end());
        }
        nextSeq.assign(kStreams, 1);
    }
    ~Fixture() {
        table.unmount();
        Vault::CollectionControl::remove(control.name());
    }
    void count(U32 s) {
        IngressStreamStatisticsTableEntry* e = table.lookup(keys[s]);
        Sondar::Counter& c = e->counter();
        c.epochIs(epoch);
        c.setCurrentSequenceNumber(nextSeq[s]++, epoch);
    }
};

Fixture& fixture() {
    static Fixture f;
    return f;
}

// Baseline: the counter update alone, on one stream whose record stays in cache.
void BM_CounterOnly(benchmark::State& state) {
    Fixture& f = fixture();
    Rix::LoopTime batch;
    for (auto _ : state) f.count(0);
}

void BM_LookupAndCount(benchmark::State& state) {
    Fixture& f = fixture();
    Rix::LoopTime batch;
    std::size_t i = 0;
    for (auto _ : state) {
        f.count(f.order[i]);
        if (++i == f.order.size()) i = 0;
    }
}


BENCHMARK(BM_CounterOnly);
BENCHMARK(BM_LookupAndCount);

}  // namespace

int main(int argc, char** argv) {
    return Bench::run(argc, argv, [](Bench::Results& r) {
        r.timeAtMost("lookup in 65,536 streams + counter", "BM_LookupAndCount", 40.0);
        r.timeAtMost("counter update alone (cached record)", "BM_CounterOnly", 5.0);
    });
}
