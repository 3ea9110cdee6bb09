#include "support/AllocationCounter.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long> allocationCount{0};
std::atomic<long> releaseCount{0};
std::atomic<std::size_t> largest{0};

void* counted(std::size_t bytes, std::size_t alignment = alignof(std::max_align_t)) {
    ++allocationCount;
    std::size_t seen = largest;
    while (bytes > seen && !largest.compare_exchange_weak(seen, bytes)) {
    }
    void* p = std::aligned_alloc(alignment, (bytes + alignment - 1) / alignment * alignment);
    if (p == nullptr) throw std::bad_alloc();
    return p;
}

void release(void* p) {
    if (p != nullptr) ++releaseCount;
    std::free(p);
}

}  // namespace

void* operator new(std::size_t n) { return counted(n); }
void* operator new[](std::size_t n) { return counted(n); }
void* operator new(std::size_t n, const std::nothrow_t&) noexcept { return counted(n); }
void* operator new[](std::size_t n, const std::nothrow_t&) noexcept { return counted(n); }
void* operator new(std::size_t n, std::align_val_t a) { return counted(n, static_cast<std::size_t>(a)); }
void* operator new[](std::size_t n, std::align_val_t a) { return counted(n, static_cast<std::size_t>(a)); }
void operator delete(void* p) noexcept { release(p); }
void operator delete[](void* p) noexcept { release(p); }
void operator delete(void* p, std::size_t) noexcept { release(p); }
void operator delete[](void* p, std::size_t) noexcept { release(p); }
void operator delete(void* p, std::align_val_t) noexcept { release(p); }
void operator delete[](void* p, std::align_val_t) noexcept { release(p); }
void operator delete(void* p, std::size_t, std::align_val_t) noexcept { release(p); }
void operator delete[](void* p, std::size_t, std::align_val_t) noexcept { release(p); }

namespace KaTessel::tests {

AllocationCounter::AllocationCounter() : m_allocationsBefore(allocationCount), m_releasesBefore(releaseCount) {
    largest = 0;
}

long AllocationCounter::allocations() const { return allocationCount - m_allocationsBefore; }
long AllocationCounter::releases() const { return releaseCount - m_releasesBefore; }
std::size_t AllocationCounter::largestRequest() const { return largest; }

}  // namespace KaTessel::tests
