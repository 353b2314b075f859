#include "Wirex/Checksum.h"

#include <bit>
#include <cstring>

namespace Wirex {
namespace {

// Ones'-complement addition of 64-bit words: the carry out wraps around into bit 0.
inline U64 add1c(U64 a, U64 b) noexcept {
    U64 s;
    if (__builtin_add_overflow(a, b, &s)) ++s;
    return s;
}

inline U64 load64(const U8* p) noexcept {
    U64 v;
    std::memcpy(&v, p, 8);
    return v;
}

}  // namespace

// The data is summed in native byte order with 64-bit loads (RFC 1071 sect. 2(B): the sum is
// byte-order independent up to a final swap), in four independent chains so that the adds
// overlap, then folded to 16 bits.
U16 ipChecksumPartial(const void* data, std::size_t length, U32 initialSum) noexcept {
    const U8* p = static_cast<const U8*>(data);
    U64 s0 = 0, s1 = 0, s2 = 0, s3 = 0;
    while (length >= 32) {
        s0 = add1c(s0, load64(p));
        s1 = add1c(s1, load64(p + 8));
        s2 = add1c(s2, load64(p + 16));
        s3 = add1c(s3, load64(p + 24));
        p += 32;
        length -= 32;
    }
    while (length >= 8) {
        s0 = add1c(s0, load64(p));
        p += 8;
        length -= 8;
    }
    if (length > 0) {
        // the 1..7 remaining bytes, zero padded: as a big-endian word list this is the same as
        // padding an odd final byte with zero
        U8 tail[8] = {};
        std::memcpy(tail, p, length);
        s1 = add1c(s1, load64(tail));
    }
    U64 s = add1c(add1c(s0, s1), add1c(s2, s3));
    U32 s32 = static_cast<U32>(s >> 32);
    U32 lo = static_cast<U32>(s);
    s32 += lo;
    if (s32 < lo) ++s32;
    U32 folded = (s32 >> 16) + (s32 & 0xffff);
    folded = (folded >> 16) + (folded & 0xffff);
    U16 sum = static_cast<U16>(folded);
    if constexpr (std::endian::native == std::endian::little) sum = byteSwap(sum);
    U32 total = U32{sum} + (initialSum >> 16) + (initialSum & 0xffff);
    total = (total >> 16) + (total & 0xffff);
    total = (total >> 16) + (total & 0xffff);
    return static_cast<U16>(total);
}

IpChecksum ipChecksumCalc(const void* data, std::size_t length, U32 initialSum) noexcept {
    return IpChecksum(static_cast<U16>(~ipChecksumPartial(data, length, initialSum)));
}

}  // namespace Wirex
