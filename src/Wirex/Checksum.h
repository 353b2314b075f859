#pragma once
// The Internet checksum (RFC 1071): the ones' complement of the ones'-complement sum of the data
// taken as big-endian 16-bit words, an odd final byte padded with a zero byte.
#include <cstddef>

#include "Rix/Types.h"
#include "Wirex/NetTypes.h"

namespace Wirex {

// The ones'-complement sum of `length` bytes at `data` (any length, any alignment), added to
// `initialSum`, folded to 16 bits: a host-order number, not complemented. `initialSum` is such a
// sum of earlier data (or of a pseudo-header); any 32-bit value is folded in. Pieces summed one
// after the other must have even lengths, except the last.
U16 ipChecksumPartial(const void* data, std::size_t length, U32 initialSum = 0) noexcept;

// The checksum to store in a header: the complement of ipChecksumPartial(data, length,
// initialSum), in network order. Data that holds its own correct checksum gives 0.
IpChecksum ipChecksumCalc(const void* data, std::size_t length, U32 initialSum = 0) noexcept;

}  // namespace Wirex
