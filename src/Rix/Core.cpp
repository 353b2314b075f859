// Small pieces of the framework core: null ValidPtr, assertions and formatting.
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "Rix/Assert.h"
#include "Rix/Exception.h"
#include "Rix/Format.h"
#include "Rix/Ptr.h"

namespace Rix {

void throwNullValidPtr() { throw NullPointerException(); }

void assertFailed(const char* expr, const char* file, int line, const char* function) {
    std::fprintf(stderr, "assertion failed: %s\n  file: %s\n  line: %d\n  function: %s\n", expr, file,
                 line, function);
    std::fflush(stderr);
    std::abort();
}

std::string vformat(const char* fmt, std::va_list args) {
    char small[256];
    std::va_list copy;
    va_copy(copy, args);
    const int n = std::vsnprintf(small, sizeof small, fmt, copy);
    va_end(copy);
    if (n < 0) return std::string();
    if (static_cast<std::size_t>(n) < sizeof small) return std::string(small, static_cast<std::size_t>(n));
    std::string out(static_cast<std::size_t>(n) + 1, '\0');
    std::vsnprintf(out.data(), out.size(), fmt, args);
    out.resize(static_cast<std::size_t>(n));
    return out;
}

std::string format(const char* fmt, ...) {
    std::va_list args;
    va_start(args, fmt);
    std::string s = vformat(fmt, args);
    va_end(args);
    return s;
}

}  // namespace Rix
