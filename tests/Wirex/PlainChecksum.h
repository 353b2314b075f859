#pragma once
// The Internet checksum the plain way (RFC 1071): big-endian 16-bit words into a 32-bit sum, an
// odd last byte padded with zero. It is the oracle the fast paths must match, and the baseline the
// benchmarks measure them against, so it is kept one word at a time: the compiler may not
// vectorize it.
#include <cstddef>

#include "Rix/Types.h"

#if defined(__clang__)
#define SONDAR_PLAIN_LOOP _Pragma("clang loop vectorize(disable) interleave(disable)")
#define SONDAR_NO_VECTORIZE
#else
#define SONDAR_PLAIN_LOOP
#define SONDAR_NO_VECTORIZE __attribute__((optimize("no-tree-vectorize")))
#endif

namespace SondarTest {

// The folded ones'-complement sum, not complemented, continuing from `sum`.
SONDAR_NO_VECTORIZE inline U16 plainSum(const U8* p, std::size_t n, U32 sum = 0) {
    SONDAR_PLAIN_LOOP
    for (; n > 1; p += 2, n -= 2) sum += static_cast<U32>((p[0] << 8) | p[1]);
    if (n > 0) sum += static_cast<U32>(p[0] << 8);
    while (sum >> 16) sum = (sum & 0xffff) + (sum >> 16);
    return static_cast<U16>(sum);
}

// The checksum as stored in a header: the complement of the sum.
inline U16 plainChecksum(const U8* p, std::size_t n, U32 sum = 0) {
    return static_cast<U16>(~plainSum(p, n, sum));
}

}  // namespace SondarTest
