#pragma once
// The 16-byte unit in which entries move between private memory and a table's segment, and the
// entry check is summed: two 64-bit lanes.
//
// Segment words that the writer may be changing are read and written only by single aligned
// 16-byte loads and stores, each of whose 8-byte halves is single-copy atomic on x86-64, as a
// relaxed atomic word access would be, but one instruction moves two words. They
// are issued from inline assembly, so that the compiler neither splits, repeats nor elides them:
// the value a reader checks is the very value it copies. The sequence counters that make a copy
// consistent stay std::atomic_ref accesses (Layout.h).
//
// Without SSE2 the same arithmetic runs on pairs of words, with atomic_ref word accesses; both
// implementations are compiled on x86-64 so that a test can hold them to the same results.
#include <atomic>
#include <cstring>

#include "Rix/Types.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// For the lambdas that walk an entry chunk by chunk: inlined before the optimiser decides where
// the entry check lives, they leave it in registers.
#define VAULT_INLINE __attribute__((always_inline))

namespace Vault {

// Pairs of words in general-purpose registers.
struct ScalarChunks {
    struct Chunk {
        U64 lo = 0, hi = 0;
    };

    static Chunk load(const void* p) {
        Chunk c;
        std::memcpy(&c, p, 16);
        return c;
    }
    static void store(void* p, Chunk c) { std::memcpy(p, &c, 16); }
    static Chunk loadShared(const U64* p) {
        return {std::atomic_ref<U64>(*const_cast<U64*>(p)).load(std::memory_order_relaxed),
                std::atomic_ref<U64>(*const_cast<U64*>(p + 1)).load(std::memory_order_relaxed)};
    }
    static void storeShared(U64* p, Chunk c) {
        std::atomic_ref<U64>(*p).store(c.lo, std::memory_order_relaxed);
        std::atomic_ref<U64>(*(p + 1)).store(c.hi, std::memory_order_relaxed);
    }
    static Chunk make(U64 lo, U64 hi) { return {lo, hi}; }
    static Chunk add(Chunk a, Chunk b) { return {a.lo + b.lo, a.hi + b.hi}; }
    static Chunk bitXor(Chunk a, Chunk b) { return {a.lo ^ b.lo, a.hi ^ b.hi}; }
    static U64 low(Chunk c) { return c.lo; }
    static U64 high(Chunk c) { return c.hi; }
    // Bit b set when byte b of the two chunks is equal.
    static U32 equalBytes(Chunk a, Chunk b) {
        U32 m = 0;
        for (U32 i = 0; i < 8; ++i) {
            m |= U32(((a.lo ^ b.lo) >> (8 * i) & 0xff) == 0) << i;
            m |= U32(((a.hi ^ b.hi) >> (8 * i) & 0xff) == 0) << (i + 8);
        }
        return m;
    }
};

#if defined(__SSE2__)
// Pairs of words in SSE2 registers.
struct VectorChunks {
    using Chunk = __m128i;

    static Chunk load(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }
    static void store(void* p, Chunk c) { _mm_storeu_si128(static_cast<__m128i*>(p), c); }
    // `p` is 16-byte aligned.
    // The memory operands are typed as plain pairs of words, not as vectors, which may alias
    // anything: the compiler then keeps a caller's locals in registers across them.
    struct Pair {
        U64 w[2];
    };
    static Chunk loadShared(const U64* p) {
        Chunk c;
        asm volatile("movdqa %1, %0" : "=x"(c) : "m"(*reinterpret_cast<const Pair*>(p)));
        return c;
    }
    static void storeShared(U64* p, Chunk c) {
        asm volatile("movdqa %1, %0" : "=m"(*reinterpret_cast<Pair*>(p)) : "x"(c));
    }
    static Chunk make(U64 lo, U64 hi) {
        return _mm_set_epi64x(static_cast<long long>(hi), static_cast<long long>(lo));
    }
    static Chunk add(Chunk a, Chunk b) { return _mm_add_epi64(a, b); }
    static Chunk bitXor(Chunk a, Chunk b) { return _mm_xor_si128(a, b); }
    static U64 low(Chunk c) { return static_cast<U64>(_mm_cvtsi128_si64(c)); }
    static U64 high(Chunk c) {
        return static_cast<U64>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(c, c)));
    }
    static U32 equalBytes(Chunk a, Chunk b) {
        return static_cast<U32>(_mm_movemask_epi8(_mm_cmpeq_epi8(a, b)));
    }
};
using Chunks = VectorChunks;
#else
using Chunks = ScalarChunks;
#endif

using Chunk = Chunks::Chunk;

}  // namespace Vault
