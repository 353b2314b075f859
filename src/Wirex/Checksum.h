#pragma once
// The Internet checksum (RFC 1071): the ones' complement of the ones'-complement sum of the data
// taken as big-endian 16-bit words, an odd final byte padded with a zero byte. Defined inline so
// that the per-probe checksum updates compile into their callers.
#include <bit>
#include <cstddef>
#include <cstring>

#include "Rix/Types.h"
#include "Wirex/NetTypes.h"

namespace Wirex {

namespace ChecksumDetail {

inline U64 load64(const U8* p) noexcept {
    U64 v;
    std::memcpy(&v, p, 8);
    return v;
}
inline U32 load32(const U8* p) noexcept {
    U32 v;
    std::memcpy(&v, p, 4);
    return v;
}
inline U16 load16(const U8* p) noexcept {
    U16 v;
    std::memcpy(&v, p, 2);
    return v;
}
// Ones'-complement addition of 64-bit words: the carry out wraps around into bit 0.
inline U64 add1c(U64 a, U64 b) noexcept {
    U64 s;
    return __builtin_add_overflow(a, b, &s) ? s + 1 : s;
}

}  // namespace ChecksumDetail

// The ones'-complement sum of `length` bytes at `data` (any length, any alignment), added to
// `initialSum`, folded to 16 bits: a host-order number, not complemented. `initialSum` is such a
// sum of earlier data (a pseudo-header, say); any 32-bit value is folded in. Data summed in
// pieces must be cut at even lengths, except for the last piece.
//
// The data is summed in native byte order with 64-bit loads (the sum is byte-order independent
// up to one final swap), in four independent carry chains so that the additions overlap.
inline U16 ipChecksumPartial(const void* data, std::size_t length, U32 initialSum = 0) noexcept {
    using namespace ChecksumDetail;
    const U8* p = static_cast<const U8*>(data);
    // the initial sum joins as a native-order word, off the critical path
    U32 init = (initialSum >> 16) + (initialSum & 0xffffu);
    init = (init >> 16) + (init & 0xffffu);
    const U16 init16 = static_cast<U16>(init);
#if defined(__x86_64__)
    // One add-with-carry chain over 64-bit words straight from memory: the fewest instructions
    // per word, and the carry out of each addition goes into the next.
    U64 acc = std::endian::native == std::endian::little ? byteSwap(init16) : init16;
    while (length >= 32) {
        asm("addq 0(%[p]), %[a]\n\tadcq 8(%[p]), %[a]\n\tadcq 16(%[p]), %[a]\n\t"
            "adcq 24(%[p]), %[a]\n\tadcq $0, %[a]"
            : [a] "+r"(acc)
            : [p] "r"(p), "m"(*(const U8(*)[32])p)
            : "cc");
        p += 32;
        length -= 32;
    }
    if (length & 16) {
        asm("addq 0(%[p]), %[a]\n\tadcq 8(%[p]), %[a]\n\tadcq $0, %[a]"
            : [a] "+r"(acc)
            : [p] "r"(p), "m"(*(const U8(*)[16])p)
            : "cc");
        p += 16;
    }
    if (length & 8) {
        acc = add1c(acc, load64(p));
        p += 8;
    }
    U64 s0 = acc, s1 = 0, s2 = 0, s3 = 0;
#else
    U64 s0 = 0, s1 = 0, s2 = 0;
    U64 s3 = std::endian::native == std::endian::little ? byteSwap(init16) : init16;
    while (length >= 32) {
        s0 = add1c(s0, load64(p));
        s1 = add1c(s1, load64(p + 8));
        s2 = add1c(s2, load64(p + 16));
        s3 = add1c(s3, load64(p + 24));
        p += 32;
        length -= 32;
    }
    if (length & 16) {
        s0 = add1c(s0, load64(p));
        s1 = add1c(s1, load64(p + 8));
        p += 16;
    }
    if (length & 8) {
        s2 = add1c(s2, load64(p));
        p += 8;
    }
#endif
    // the last 0..7 bytes; 16-bit words stay at even offsets from the start, and an odd final
    // byte is the low byte of a native word, that is the high byte of a big-endian one
    U64 tail = 0;
    if (length & 4) {
        tail = load32(p);
        p += 4;
    }
    if (length & 2) {
        tail += load16(p);
        p += 2;
    }
    if (length & 1) {
        tail += std::endian::native == std::endian::little ? U64{*p} : U64{*p} << 8;
    }
    const U64 s = add1c(add1c(s0, s1), add1c(add1c(s2, s3), tail));
    // fold by adding the value to itself rotated: the upper half then holds the end-around sum
    const U64 s64 = s + std::rotr(s, 32);
    const U32 x = static_cast<U32>(s64 >> 32);
    const U32 x32 = x + std::rotr(x, 16);
    U16 sum = static_cast<U16>(x32 >> 16);
    if constexpr (std::endian::native == std::endian::little) sum = byteSwap(sum);
    return sum;
}

// The checksum to store in a header: the complement of ipChecksumPartial(data, length,
// initialSum), in network order. Data that holds its own correct checksum gives 0.
inline IpChecksum ipChecksumCalc(const void* data, std::size_t length,
                                 U32 initialSum = 0) noexcept {
    return IpChecksum(static_cast<U16>(~ipChecksumPartial(data, length, initialSum)));
}

}  // namespace Wirex
