#include "support/AllocationCounter.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

// The linker sends this program's own calls of the C functions to __wrap_.., and __real_.. to the library's functions.
extern "C" {
void* __real_malloc(std::size_t n);
void* __real_calloc(std::size_t count, std::size_t n);
void* __real_realloc(void* p, std::size_t n);
void __real_free(void* p);
#ifndef _WIN32
void* __real_aligned_alloc(std::size_t alignment, std::size_t n);
int __real_posix_memalign(void** p, std::size_t alignment, std::size_t n);
#endif
}

namespace {

std::atomic<long> allocationCount{0};
std::atomic<long> deleteCount{0};
std::atomic<long> freeCount{0};
std::atomic<std::size_t> largest{0};

void count(std::size_t bytes) {
    ++allocationCount;
    std::size_t seen = largest;
    while (bytes > seen && !largest.compare_exchange_weak(seen, bytes)) {
    }
}

void* counted(std::size_t bytes, std::size_t alignment = alignof(std::max_align_t)) {
    count(bytes);
#ifdef _WIN32
    void* p = _aligned_malloc(bytes, alignment);
#else
    void* p = __real_aligned_alloc(alignment, (bytes + alignment - 1) / alignment * alignment);
#endif
    if (p == nullptr) throw std::bad_alloc();
    return p;
}

void release(void* p) {
    if (p != nullptr) ++deleteCount;
#ifdef _WIN32
    _aligned_free(p);
#else
    __real_free(p);
#endif
}

}  // namespace

extern "C" {
void* __wrap_malloc(std::size_t n) {
    count(n);
    return __real_malloc(n);
}
void* __wrap_calloc(std::size_t elements, std::size_t n) {
    count(elements * n);
    return __real_calloc(elements, n);
}
void* __wrap_realloc(void* p, std::size_t n) {
    if (p != nullptr) ++freeCount;
    count(n);
    return __real_realloc(p, n);
}
void __wrap_free(void* p) {
    if (p != nullptr) ++freeCount;
    __real_free(p);
}
#ifndef _WIN32
void* __wrap_aligned_alloc(std::size_t alignment, std::size_t n) {
    count(n);
    return __real_aligned_alloc(alignment, n);
}
int __wrap_posix_memalign(void** p, std::size_t alignment, std::size_t n) {
    count(n);
    return __real_posix_memalign(p, alignment, n);
}
#endif
}

void* operator new(std::size_t n) { return counted(n); }
void* operator new[](std::size_t n) { return counted(n); }
void* operator new(std::size_t n, const std::nothrow_t&) noexcept { return counted(n); }
void* operator new[](std::size_t n, const std::nothrow_t&) noexcept { return counted(n); }
void* operator new(std::size_t n, std::align_val_t a) { return counted(n, static_cast<std::size_t>(a)); }
void* operator new[](std::size_t n, std::align_val_t a) { return counted(n, static_cast<std::size_t>(a)); }
void* operator new(std::size_t n, std::align_val_t a, const std::nothrow_t&) noexcept {
    return counted(n, static_cast<std::size_t>(a));
}
void* operator new[](std::size_t n, std::align_val_t a, const std::nothrow_t&) noexcept {
    return counted(n, static_cast<std::size_t>(a));
}
void operator delete(void* p) noexcept { release(p); }
void operator delete[](void* p) noexcept { release(p); }
void operator delete(void* p, std::size_t) noexcept { release(p); }
void operator delete[](void* p, std::size_t) noexcept { release(p); }
void operator delete(void* p, std::align_val_t) noexcept { release(p); }
void operator delete[](void* p, std::align_val_t) noexcept { release(p); }
void operator delete(void* p, std::size_t, std::align_val_t) noexcept { release(p); }
void operator delete[](void* p, std::size_t, std::align_val_t) noexcept { release(p); }

namespace KaTessel::tests {

AllocationCounter::AllocationCounter()
    : m_allocationsBefore(allocationCount), m_deletesBefore(deleteCount), m_freesBefore(freeCount) {
    largest = 0;
}

long AllocationCounter::allocations() const { return allocationCount - m_allocationsBefore; }
long AllocationCounter::frees() const { return freeCount - m_freesBefore; }
long AllocationCounter::releases() const { return deleteCount - m_deletesBefore + frees(); }
std::size_t AllocationCounter::largestRequest() const { return largest; }

}  // namespace KaTessel::tests
