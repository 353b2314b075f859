#pragma once
// How a key and a value lie in a slot's payload, chunk by chunk: the key's bytes from byte 0,
// zero padded to a whole word, then the value's bytes likewise, then zeros to the end of the last
// chunk. Every offset is known at compile time, so a chunk that lies within the key or within the
// value moves with one unaligned load or store, and only the chunks that straddle a boundary are
// assembled byte-wise.
#include <cstddef>
#include <cstring>
#include <type_traits>
#include <utility>

#include "Rix/Types.h"
#include "Vault/Chunk.h"
#include "Vault/Layout.h"

namespace Vault {

template <class K, class V>
struct Payload {
    static_assert(std::is_trivially_copyable_v<K>, "table keys must be trivially copyable");
    static_assert(std::is_trivially_copyable_v<V>, "table values must be trivially copyable");

    static constexpr std::size_t keyBytes = wordsFor(sizeof(K)) * 8;
    static constexpr std::size_t valueAt = keyBytes;
    static constexpr std::size_t valueEnd = valueAt + sizeof(V);
    static constexpr U32 chunks = payloadWordsFor(sizeof(K), sizeof(V)) / 2;
    static constexpr U32 keyChunks = static_cast<U32>((keyBytes + 15) / 16);
    // A whole payload in private memory.
    struct Image {
        Chunk& operator[](U32 c) { return chunk[c]; }
        const Chunk* data() const { return chunk; }
        Chunk* data() { return chunk; }
        Chunk chunk[chunks];
    };

    // Calls f(std::integral_constant<U32, c>()) for every chunk c in [from, to), in order.
    template <U32 from, U32 to, class F>
    VAULT_INLINE static void forChunks(F&& f) {
        [&]<U32... c>(std::integer_sequence<U32, c...>) VAULT_INLINE {
            (f(std::integral_constant<U32, from + c>()), ...);
        }
        (std::make_integer_sequence<U32, to - from>());
    }

    // Chunk c of the payload of `key` and `value`.
    template <U32 c>
    static Chunk encode(const K& key, const V& value) {
        constexpr std::size_t lo = 16 * c, hi = lo + 16;
        const auto* k = reinterpret_cast<const unsigned char*>(&key);
        const auto* v = reinterpret_cast<const unsigned char*>(&value);
        if constexpr (hi <= sizeof(K)) {
            return Chunks::load(k + lo);
        } else if constexpr (lo >= valueAt && hi <= valueEnd) {
            return Chunks::load(v + (lo - valueAt));
        } else {
            return Chunks::make(encodeHalf<lo>(k, v), encodeHalf<lo + 8>(k, v));
        }
    }

    // Stores the value's bytes of chunk c of a payload into `value`.
    template <U32 c>
    static void decodeValue(Chunk chunk, V& value) {
        constexpr std::size_t lo = 16 * c, hi = lo + 16;
        auto* v = reinterpret_cast<unsigned char*>(&value);
        if constexpr (lo >= valueAt && hi <= valueEnd) {
            Chunks::store(v + (lo - valueAt), chunk);
        } else {
            decodeHalf<lo>(Chunks::low(chunk), v);
            decodeHalf<lo + 8>(Chunks::high(chunk), v);
        }
    }

    // Chunks that straddle a boundary are assembled from words in general-purpose registers:
    // going through a buffer in memory would make a 16-byte load wait for narrower stores.
    // The word at payload byte `at` (a multiple of 8).
    template <std::size_t at>
    static U64 encodeHalf(const unsigned char* k, const unsigned char* v) {
        U64 w = 0;
        if constexpr (at < sizeof(K)) {
            std::memcpy(&w, k + at, sizeof(K) - at < 8 ? sizeof(K) - at : 8);
        } else if constexpr (at >= valueAt && at < valueEnd) {
            std::memcpy(&w, v + (at - valueAt), valueEnd - at < 8 ? valueEnd - at : 8);
        }
        return w;
    }
    template <std::size_t at>
    static void decodeHalf(U64 w, unsigned char* v) {
        if constexpr (at >= valueAt && at < valueEnd) {
            std::memcpy(v + (at - valueAt), &w, valueEnd - at < 8 ? valueEnd - at : 8);
        }
    }

    static K decodeKey(const Image& image) {
        K k;
        std::memcpy(static_cast<void*>(&k), image.data(), sizeof(K));
        return k;
    }
    static V decodeValue(const Image& image) {
        V v;
        std::memcpy(static_cast<void*>(&v), reinterpret_cast<const char*>(image.data()) + valueAt,
                    sizeof(V));
        return v;
    }

    // Tells whether the key chunks of a payload hold `key`. Keys whose bytes are their value are
    // compared byte-wise, padding included (the writer zeroes it); others through their ==.
    class KeyProbe {
      public:
        explicit KeyProbe(const K& key) : key_(key) {
            if constexpr (byteWise) {
                alignas(16) unsigned char b[16 * keyChunks] = {};
                std::memcpy(b, &key, sizeof(K));
                for (U32 c = 0; c < keyChunks; ++c) want_[c] = Chunks::load(b + 16 * c);
            }
        }
        bool matches(const Chunk* keyChunk) const {
            if constexpr (byteWise) {
                bool same = true;
                forChunks<0, keyChunks>([&](auto c) VAULT_INLINE {
                    constexpr std::size_t inChunk = keyBytes - 16 * c >= 16 ? 16 : keyBytes % 16;
                    constexpr U32 mask = (1u << inChunk) - 1;
                    same = same && (Chunks::equalBytes(keyChunk[c], want_[c]) & mask) == mask;
                });
                return same;
            } else {
                alignas(16) unsigned char b[16 * keyChunks];
                for (U32 c = 0; c < keyChunks; ++c) Chunks::store(b + 16 * c, keyChunk[c]);
                K k;
                std::memcpy(static_cast<void*>(&k), b, sizeof(K));
                return k == key_;
            }
        }

      private:
        static constexpr bool byteWise = std::has_unique_object_representations_v<K>;
        const K& key_;
        Chunk want_[keyChunks];
    };
};

}  // namespace Vault
