// Shared-memory tables: a reader's lookup with its consistent copy of a 200-byte entry against an
// in-process std::unordered_map, a writer's update of an existing entry, and, where LMDB is
// installed, an LMDB get in a reused read transaction on the same keys.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "BenchGoals.h"
#include "Vault/VaultMap.h"
#include "Vault/VaultReader.h"
#include "Wirex/NetTypes.h"

#ifdef SONDAR_HAVE_LMDB
#include <lmdb.h>
#endif

namespace {

// Shaped like the model's stream keys: a few fields, equality and their own 32-bit hash.
struct StreamKey {
    U32 srcIp = 0;
    U32 dstIp = 0;
    U16 srcPort = 0;
    U16 dstPort = 0;
    U32 intf = 0;
    bool operator==(const StreamKey&) const = default;
    U32 hash() const { return Wirex::hashBytes(this, sizeof *this); }
};
struct StreamKeyHash {
    std::size_t operator()(const StreamKey& k) const { return k.hash(); }
};
struct Entry {
    U64 words[25];
};
static_assert(sizeof(Entry) == 200);

constexpr U32 keyCount = 1000;

struct Fixture {
    Fixture()
        : name("vault-bench-" + std::to_string(getpid())),
          heldName(name + "-held"),
          control(name, 1024),
          heldControl(heldName, 1024) {
        Vault::CollectionControl::remove(name);
        map.mount(control);
        for (U32 i = 0; i < keyCount; ++i) {
            StreamKey k{0x0a000000u + i, 0x0a010000u + i * 7, U16(1000 + i), 4791, i % 48};
            Entry e{};
            for (U64 w = 0; w < 25; ++w) e.words[w] = i * 100 + w;
            keys.push_back(k);
            plain.emplace(k, e);
            map.safeWrite(k, e);
        }
        reader = std::make_unique<Vault::VaultReader<StreamKey, Entry, StreamKeyHash>>(name);
        // The same entries in a second table whose writer has handed out a copy of each, which
        // every safe write must then keep up to date.
        Vault::CollectionControl::remove(heldName);
        held.mount(heldControl);
        for (const StreamKey& k : keys) {
            held.safeWrite(k, plain[k]);
            if (!held.lookup(k)) std::abort();
        }
    }
    ~Fixture() {
        reader.reset();
        map.unmount();
        held.unmount();
        Vault::CollectionControl::remove(name);
        Vault::CollectionControl::remove(heldName);
    }
    std::string name, heldName;
    Vault::CollectionControl control, heldControl;
    Vault::VaultMap<StreamKey, Entry, StreamKeyHash> map, held;
    std::unique_ptr<Vault::VaultReader<StreamKey, Entry, StreamKeyHash>> reader;
    std::unordered_map<StreamKey, Entry, StreamKeyHash> plain;
    std::vector<StreamKey> keys;
};

Fixture& fixture() {
    static Fixture f;
    return f;
}

void BM_UnorderedMapLookup(benchmark::State& state) {
    Fixture& f = fixture();
    const U32 n = static_cast<U32>(state.range(0));
    U32 i = 0;
    for (auto _ : state) {
        auto it = f.plain.find(f.keys[i]);
        benchmark::DoNotOptimize(it);
        i = i + 1 == n ? 0 : i + 1;
    }
}
BENCHMARK(BM_UnorderedMapLookup)->Arg(64)->Arg(keyCount);

void BM_UnorderedMapLookupAndCopy(benchmark::State& state) {
    Fixture& f = fixture();
    const U32 n = static_cast<U32>(state.range(0));
    U32 i = 0;
    Entry out;
    for (auto _ : state) {
        out = f.plain.find(f.keys[i])->second;
        benchmark::DoNotOptimize(out);
        i = i + 1 == n ? 0 : i + 1;
    }
}
BENCHMARK(BM_UnorderedMapLookupAndCopy)->Arg(64)->Arg(keyCount);

void BM_ReaderFind(benchmark::State& state) {
    Fixture& f = fixture();
    const U32 n = static_cast<U32>(state.range(0));
    U32 i = 0;
    Entry out;
    for (auto _ : state) {
        if (f.reader->find(f.keys[i], out) != Vault::ReadResult::found) std::abort();
        benchmark::DoNotOptimize(out);
        i = i + 1 == n ? 0 : i + 1;
    }
}
BENCHMARK(BM_ReaderFind)->Arg(64)->Arg(keyCount);

void writerUpdates(benchmark::State& state, Vault::VaultMap<StreamKey, Entry, StreamKeyHash>& map) {
    const U32 n = static_cast<U32>(state.range(0));
    U32 i = 0;
    Entry e{};
    for (auto _ : state) {
        ++e.words[3];
        map.safeWrite(fixture().keys[i], e);
        benchmark::ClobberMemory();
        i = i + 1 == n ? 0 : i + 1;
    }
}
void BM_WriterUpdate(benchmark::State& state) { writerUpdates(state, fixture().map); }
BENCHMARK(BM_WriterUpdate)->Arg(64)->Arg(keyCount);
void BM_WriterUpdateCopyHeld(benchmark::State& state) { writerUpdates(state, fixture().held); }
BENCHMARK(BM_WriterUpdateCopyHeld)->Arg(64)->Arg(keyCount);

#ifdef SONDAR_HAVE_LMDB
void check(int rc, const char* what) {
    if (rc != 0) {
        std::fprintf(stderr, "%s: %s\n", what, mdb_strerror(rc));
        std::abort();
    }
}

void BM_LmdbGet(benchmark::State& state) {
    Fixture& f = fixture();
    char dir[] = "/tmp/vault-bench-lmdb-XXXXXX";
    if (!mkdtemp(dir)) std::abort();
    MDB_env* env = nullptr;
    check(mdb_env_create(&env), "mdb_env_create");
    check(mdb_env_set_mapsize(env, 64u << 20), "mdb_env_set_mapsize");
    check(mdb_env_open(env, dir, MDB_NOSYNC, 0600), "mdb_env_open");
    MDB_dbi dbi;
    MDB_txn* txn = nullptr;
    check(mdb_txn_begin(env, nullptr, 0, &txn), "mdb_txn_begin");
    check(mdb_dbi_open(txn, nullptr, 0, &dbi), "mdb_dbi_open");
    for (const StreamKey& k : f.keys) {
        MDB_val key{sizeof k, const_cast<StreamKey*>(&k)};
        MDB_val val{sizeof(Entry), &f.plain[k]};
        check(mdb_put(txn, dbi, &key, &val, 0), "mdb_put");
    }
    check(mdb_txn_commit(txn), "mdb_txn_commit");
    check(mdb_txn_begin(env, nullptr, MDB_RDONLY, &txn), "mdb_txn_begin");
    const U32 n = static_cast<U32>(state.range(0));
    U32 i = 0;
    Entry out;
    for (auto _ : state) {
        MDB_val key{sizeof(StreamKey), &f.keys[i]};
        MDB_val val;
        check(mdb_get(txn, dbi, &key, &val), "mdb_get");
        std::memcpy(&out, val.mv_data, sizeof out);
        benchmark::DoNotOptimize(out);
        i = i + 1 == n ? 0 : i + 1;
    }
    mdb_txn_abort(txn);
    mdb_env_close(env);
    std::system((std::string("rm -rf ") + dir).c_str());
}
BENCHMARK(BM_LmdbGet)->Arg(64)->Arg(keyCount);
#endif

}  // namespace

int main(int argc, char** argv) {
    return Bench::run(argc, argv, [](Bench::Results& r) {
        // A hot set of 64 streams that stays in cache, and 1,000 streams that do not.
        for (const std::string n : {"/64", "/1000"}) {
            const std::string keys = " (" + n.substr(1) + " keys)";
            r.ratioAtMost("reader lookup and copy of 200 B vs unordered_map lookup" + keys,
                          "BM_UnorderedMapLookup" + n, "BM_ReaderFind" + n, 2.0);
            const double plainCopy = r.ns("BM_UnorderedMapLookupAndCopy" + n);
            const double reader = r.ns("BM_ReaderFind" + n);
            r.figure("  same, baseline also copying the value out" + keys, reader / plainCopy, 2.0,
                     reader <= 2 * plainCopy, "x the baseline", "<=");
            r.timeAtMost("writer update of an existing 200 B entry" + keys, "BM_WriterUpdate" + n,
                         30.0);
            r.timeAtMost("  same, its writer's copy handed out and kept up to date" + keys,
                         "BM_WriterUpdateCopyHeld" + n, 30.0);
#ifdef SONDAR_HAVE_LMDB
            r.ratioAtLeast("reader lookup vs LMDB get in a reused read txn" + keys,
                           "BM_LmdbGet" + n, "BM_ReaderFind" + n, 10.0);
#endif
        }
    });
}
