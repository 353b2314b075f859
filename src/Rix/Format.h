#pragma once
// printf-like formatting into a std::string.
#include <cstdarg>
#include <string>

namespace Rix {
std::string format(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
std::string vformat(const char* fmt, std::va_list args);
}  // namespace Rix
