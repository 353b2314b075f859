#pragma once
// Helpers shared by the probe tests: the plain RFC 1071 checksum kept apart from the library's, and
// a regular expression that matches an assertion's exact text.
#include <string>
#include <vector>

#include "Rix/Types.h"
#include "Wirex/PlainChecksum.h"

namespace SondarTest {

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
