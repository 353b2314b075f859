#pragma once
// RIX_ASSERT stops the process on a programming error. The failed expression's text is part of
// the contract, so it is printed exactly as written at the call site, with file, line and function.

namespace Rix {
[[noreturn]] void assertFailed(const char* expr, const char* file, int line, const char* function);
}

#define RIX_ASSERT(expr) \
    ((expr) ? static_cast<void>(0) : ::Rix::assertFailed(#expr, __FILE__, __LINE__, __PRETTY_FUNCTION__))
