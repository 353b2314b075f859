#pragma once
// Counts every heap allocation of the test program that includes it, by replacing the global
// allocation functions: every form, plain, nothrow and aligned, so that none escapes the count
// and each is freed by its match. Include it in exactly one source file of a program.
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace SondarTest {

inline std::atomic<unsigned long> heapAllocations{0};

inline void* countedAlloc(std::size_t n, std::size_t align) noexcept {
    heapAllocations.fetch_add(1, std::memory_order_relaxed);
    if (n == 0) n = 1;
    return align > alignof(std::max_align_t)
               ? std::aligned_alloc(align, (n + align - 1) / align * align)
               : std::malloc(n);
}
inline void* countedAllocOrThrow(std::size_t n, std::size_t align) {
    if (void* p = countedAlloc(n, align)) return p;
    throw std::bad_alloc();
}

}  // namespace SondarTest

// The replacements pair every allocation with free(); g++ cannot see that once it inlines them,
// and warns.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif

void* operator new(std::size_t n) { return SondarTest::countedAllocOrThrow(n, 0); }
void* operator new[](std::size_t n) { return SondarTest::countedAllocOrThrow(n, 0); }
void* operator new(std::size_t n, const std::nothrow_t&) noexcept {
    return SondarTest::countedAlloc(n, 0);
}
void* operator new[](std::size_t n, const std::nothrow_t&) noexcept {
    return SondarTest::countedAlloc(n, 0);
}
void* operator new(std::size_t n, std::align_val_t a) {
    return SondarTest::countedAllocOrThrow(n, static_cast<std::size_t>(a));
}
void* operator new[](std::size_t n, std::align_val_t a) {
    return SondarTest::countedAllocOrThrow(n, static_cast<std::size_t>(a));
}
void* operator new(std::size_t n, std::align_val_t a, const std::nothrow_t&) noexcept {
    return SondarTest::countedAlloc(n, static_cast<std::size_t>(a));
}
void* operator new[](std::size_t n, std::align_val_t a, const std::nothrow_t&) noexcept {
    return SondarTest::countedAlloc(n, static_cast<std::size_t>(a));
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete(void* p, std::align_val_t) noexcept { std::free(p); }
void operator delete[](void* p, std::align_val_t) noexcept { std::free(p); }
void operator delete(void* p, std::size_t, std::align_val_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t, std::align_val_t) noexcept { std::free(p); }
void operator delete(void* p, std::align_val_t, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete[](void* p, std::align_val_t, const std::nothrow_t&) noexcept { std::free(p); }
