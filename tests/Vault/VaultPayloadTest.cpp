// Entries of awkward sizes moved through the chunk-wise encoding, and the entry check: both of its
// implementations agree, and it notices the damage it exists for.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <set>
#include <vector>

#include "Vault/Payload.h"
#include "Vault/VaultMap.h"
#include "Vault/VaultReader.h"
#include "VaultTestSupport.h"

using namespace Vault;
using namespace VaultTest;

namespace {

template <std::size_t n>
struct Bytes {
    U8 b[n];
    bool operator==(const Bytes&) const = default;
};
template <std::size_t n>
struct BytesHash {
    std::size_t operator()(const Bytes<n>& k) const {
        std::size_t h = 1469598103934665603ull;
        for (U8 c : k.b) h = (h ^ c) * 1099511628211ull;
        return h;
    }
};

// Compared field by field: its padding bytes take part in no comparison and may hold anything.
struct Padded {
    U8 tag;
    U32 id;
    U16 port;
    bool operator==(const Padded& o) const { return tag == o.tag && id == o.id && port == o.port; }
};
struct PaddedHash {
    std::size_t operator()(const Padded& k) const { return k.id * 31 + k.port + k.tag; }
};
static_assert(!std::has_unique_object_representations_v<Padded>);

template <class K, class V, class H>
struct Shape {
    using Key = K;
    using Value = V;
    using Hash = H;
};

template <class T>
T filled(U32 seed) {
    T t;
    auto* p = reinterpret_cast<U8*>(&t);
    for (std::size_t i = 0; i < sizeof(T); ++i) p[i] = static_cast<U8>(seed * 131 + i * 7 + 1);
    return t;
}
template <class T>
T keyNumbered(U32 n) {
    return filled<T>(n);
}
template <>
Padded keyNumbered<Padded>(U32 n) {
    Padded k;
    std::memset(&k, static_cast<int>(n * 37 + 5), sizeof k);  // padding differs from key to key
    k.tag = static_cast<U8>(n);
    k.id = n * 1000;
    k.port = static_cast<U16>(n + 1);
    return k;
}

template <class S>
class VaultPayload : public ::testing::Test {};

// Keys and values short of a word, of a chunk, straddling chunks, and a key compared by ==.
using Shapes =
    ::testing::Types<Shape<Bytes<3>, Bytes<13>, BytesHash<3>>,
                     Shape<Bytes<12>, Bytes<20>, BytesHash<12>>,
                     Shape<Bytes<24>, Bytes<1>, BytesHash<24>>,
                     Shape<U64, Bytes<200>, std::hash<U64>>, Shape<Padded, Bytes<57>, PaddedHash>>;
TYPED_TEST_SUITE(VaultPayload, Shapes);

// Every entry written is found and scanned whole, under an equal key whose padding differs; the
// padding of every live payload in the segment is zero; a restarted writer recovers them all.
TYPED_TEST(VaultPayload, EntriesSurviveTheEncodingWhateverTheirSizes) {
    using K = typename TypeParam::Key;
    using V = typename TypeParam::Value;
    using H = typename TypeParam::Hash;
    using Codec = Payload<K, V>;
    ScopedName name;
    CollectionControl control(*name, 40);
    const U32 n = 30;
    {
        VaultMap<K, V, H> map;
        map.mount(control);
        for (U32 i = 0; i < n; ++i) map.safeWrite(keyNumbered<K>(i), filled<V>(i));
        map.safeWrite(keyNumbered<K>(3), filled<V>(99));
        ASSERT_EQ(map.validate(), 0u);

        const auto* image = static_cast<const U8*>(map.segmentBase()) + headerBytes;
        const std::size_t slotBytes = slotWordsFor(sizeof(K), sizeof(V)) * 8;
        const std::size_t payloadBytes = 16 * Codec::chunks;
        U32 live = 0;
        for (U32 s = 0; s < slotCountFor(40); ++s) {
            const U8* slot = image + s * slotBytes;
            U64 meta;
            std::memcpy(&meta, slot + 8, 8);
            if (metaState(meta) != U8(SlotState::live)) continue;
            ++live;
            for (std::size_t b = 0; b < payloadBytes; ++b) {
                const bool keyPad = b >= sizeof(K) && b < Codec::valueAt;
                const bool tailPad = b >= Codec::valueEnd;
                if (keyPad || tailPad) {
                    ASSERT_EQ(slot[16 + b], 0) << "slot " << s << " byte " << b;
                }
            }
        }
        EXPECT_EQ(live, n);
    }
    VaultMap<K, V, H> map;
    map.mount(control);
    EXPECT_EQ(control.repairedEntries(), 0u);
    EXPECT_EQ(map.size(), n);
    VaultReader<K, V, H> reader(*name);
    for (U32 i = 0; i < n; ++i) {
        K probe = keyNumbered<K>(i);
        if constexpr (std::is_same_v<K, Padded>) {
            std::memset(&probe, 0xee, sizeof probe);
            probe.tag = static_cast<U8>(i);
            probe.id = i * 1000;
            probe.port = static_cast<U16>(i + 1);
        }
        const V expected = filled<V>(i == 3 ? 99 : i);
        V got = filled<V>(7777);
        ASSERT_EQ(reader.find(probe, got), ReadResult::found) << i;
        EXPECT_EQ(got, expected) << i;
        ASSERT_NE(map.lookup(probe), nullptr);
        EXPECT_EQ(*map.lookup(probe), expected);
    }
    V none;
    EXPECT_EQ(reader.find(keyNumbered<K>(n + 5), none), ReadResult::absent);
    U32 scanned = 0;
    const ScanResult scan = reader.forEach([&](const K& k, const V& v) {
        ++scanned;
        const V* mine = map.lookup(k);
        ASSERT_NE(mine, nullptr);
        EXPECT_EQ(*mine, v);
    });
    EXPECT_EQ(scanned, n);
    EXPECT_EQ(scan.busy + scan.corrupt, 0u);
}

#if defined(__SSE2__)
// The portable implementation of the check gives the vector one's results, and the check sees
// every changed byte and every pair of exchanged words of a 200-byte entry.
TEST(VaultEntryCheck, BothImplementationsAgreeAndDamageIsSeen) {
    std::mt19937_64 rng(3);
    constexpr std::size_t words = 28;  // the payload of a 16-byte key and a 200-byte value
    auto check = [](const std::vector<U64>& w, U64 seed) {
        BasicEntryCheck<VectorChunks> v;
        BasicEntryCheck<ScalarChunks> s;
        for (std::size_t c = 0; c < w.size() / 2; ++c) {
            v.add(VectorChunks::load(&w[2 * c]));
            s.add(ScalarChunks::load(&w[2 * c]));
        }
        const U32 r = v.value(seed);
        EXPECT_EQ(r, s.value(seed));
        return r;
    };
    for (int trial = 0; trial < 20; ++trial) {
        std::vector<U64> w(words);
        for (U64& x : w) x = trial == 0 ? 0 : rng();
        const U64 seed = slotSeed(static_cast<U32>(rng() % 4096));
        const U32 clean = check(w, seed);
        EXPECT_NE(check(w, seed ^ 1), clean) << "a slot moved to another index";
        auto* bytes = reinterpret_cast<U8*>(w.data());
        for (std::size_t b = 0; b < words * 8; ++b) {
            const U8 was = bytes[b];
            bytes[b] = static_cast<U8>(was ^ (1 + rng() % 255));
            EXPECT_NE(check(w, seed), clean) << "trial " << trial << " byte " << b;
            bytes[b] = was;
        }
        for (std::size_t i = 0; i < words; ++i) {
            for (std::size_t j = i + 1; j < words; ++j) {
                if (w[i] == w[j]) continue;
                std::swap(w[i], w[j]);
                EXPECT_NE(check(w, seed), clean)
                    << "trial " << trial << " words " << i << ", " << j;
                std::swap(w[i], w[j]);
            }
        }
    }
}
#endif

}  // namespace
