// That the counter counts: tests of "allocates nothing" rely on it.
#include "support/AllocationCounter.h"

#include <cstdlib>
#include <new>

#include "gtest/gtest.h"

namespace KaTessel::tests {
namespace {

using Make = void* (*)();
using Release = void (*)(void*);

#ifndef _WIN32
void* aligned() {
    void* p = nullptr;
    return posix_memalign(&p, 64, 300) == 0 ? p : nullptr;
}
#endif

TEST(PlainAllocationCounter, CountsEveryWayToAllocate) {
    const struct {
        Make make;
        Release release;
        long allocations, frees;
    } rows[] = {
        {[] { return std::malloc(300); }, std::free, 1, 1},
        {[] { return std::calloc(3, 100); }, std::free, 1, 1},
        {[] { return std::realloc(std::malloc(1), 300); }, std::free, 2, 2},
#ifndef _WIN32
        {[] { return std::aligned_alloc(4, 300); }, std::free, 1, 1},
        {aligned, std::free, 1, 1},
#endif
        {[] { return ::operator new(300); }, [](void* p) { ::operator delete(p); }, 1, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << "row " << &row - rows);
        const AllocationCounter counter;
        void* p = row.make();
        EXPECT_EQ(counter.largestRequest(), 300u);
        row.release(p);
        EXPECT_EQ(counter.allocations(), row.allocations);
        EXPECT_EQ(counter.releases(), row.allocations);
        EXPECT_EQ(counter.frees(), row.frees);
    }
}

}  // namespace
}  // namespace KaTessel::tests
