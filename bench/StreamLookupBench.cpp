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
    // Each arriving probe's key, in arrival order: a receive loop parses it from a frame it has
    // just read, so it is in cache when the lookup starts.
    std::vector<IngressStream> arrivals;
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
        for (U32 s : order) arrivals.push_back(keys[s]);
        nextSeq.assign(kStreams, 1);
    }
    ~Fixture() {
        table.unmount();
        Vault::CollectionControl::remove(control.name());
    }
    void count(U32 s) { count(keys[s], s); }
    void count(const IngressStream& key, U32 s) {
        IngressStreamStatisticsTableEntry* e = table.lookup(key);
        Sondar::Counter& c = e->counter();
        c.epochIs(epoch);
        c.setCurrentSequenceNumber(nextSeq[s]++, epoch);
    }
};

Fixture& fixture() {
    static Fixture f;
    return f;
}

// One stream over and over, its record in cache: the cost of hashing, comparing and counting.
void BM_CachedLookupAndCount(benchmark::State& state) {
    Fixture& f = fixture();
    Rix::LoopTime batch;
    for (auto _ : state) f.count(0);
}

void BM_LookupAndCount(benchmark::State& state) {
    Fixture& f = fixture();
    Rix::LoopTime batch;
    std::size_t i = 0;
    for (auto _ : state) {
        f.count(f.arrivals[i], f.order[i]);
        if (++i == f.order.size()) i = 0;
    }
}

// The same probes as a receive loop takes them: in bursts, each probe's stream record prefetched
// a few probes ahead of its lookup.
void BM_LookupAndCountPrefetched(benchmark::State& state) {
    Fixture& f = fixture();
    Rix::LoopTime batch;
    const std::size_t ahead = static_cast<std::size_t>(state.range(0));
    const std::size_t n = f.order.size();
    std::size_t i = 0;
    for (auto _ : state) {
        const std::size_t next = i + ahead < n ? i + ahead : i + ahead - n;
        f.table.prefetch(f.arrivals[next]);
        f.count(f.arrivals[i], f.order[i]);
        if (++i == n) i = 0;
    }
}


BENCHMARK(BM_CachedLookupAndCount);
BENCHMARK(BM_LookupAndCount);
BENCHMARK(BM_LookupAndCountPrefetched)->Arg(4);

}  // namespace

int main(int argc, char** argv) {
    return Bench::run(argc, argv, [](Bench::Results& r) {
        r.timeAtMost("lookup in 65,536 streams + counter", "BM_LookupAndCount", 40.0);
        r.timeAtMost("same, each record prefetched 4 probes ahead", "BM_LookupAndCountPrefetched/4",
                     40.0);
    });
}
