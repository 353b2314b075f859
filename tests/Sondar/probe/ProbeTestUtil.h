#pragma once
// Helpers shared by the probe tests: a plain RFC 1071 checksum kept apart from the library's, and
// a regular expression that matches an assertion's exact text.
#include <string>
#include <vector>

#include "Rix/Types.h"

namespace SondarTest {

// The Internet checksum, one big-endian word at a time: the reference the fast paths must match.
inline U16 plainChecksum(const U8* data, std::size_t n, U32 sum = 0) {
    for (std::size_t i = 0; i + 1 < n; i += 2) sum += (U32{data[i]} << 8) | data[i + 1];
    if (n & 1) sum += U32{data[n - 1]} << 8;
    while (sum >> 16) sum = (sum & 0xffff) + (sum >> 16);
    return static_cast<U16>(~sum);
}

// "assertion failed: <text>" as an extended regular expression, with every special escaped.
inline std::string assertionRegex(const std::string& text) {
    std::string re = "assertion failed: ";
    for (char c : text) {
        if (std::string("\\^$.|?*+()[]{}").find(c) != std::string::npos) re += '\\';
        re += c;
    }
    return re + "\n";
}

}  // namespace SondarTest
