// That the counter counts: tests of "allocates nothing" rely on it.
#include "support/AllocationCounter.h"

#include <cstdlib>
#include <functional>
#include <memory>
#include <vector>

#include "gtest/gtest.h"

namespace KaTessel::tests {
namespace {

TEST(PlainAllocationCounter, CountsEveryWayToAllocate) {
    struct Row {
        std::function<void*()> make;
        std::function<void(void*)> release;
        bool isFreed = true;
    };
    const auto grown = [] { return std::realloc(std::malloc(1), 300); };
    const auto aligned = [] {
        void* p = nullptr;
        return posix_memalign(&p, 64, 300) == 0 ? p : nullptr;
    };
    const Row rows[] = {
        {[] { return std::malloc(300); }, std::free},
        {[] { return std::calloc(3, 100); }, std::free},
        {[] { return std::realloc(nullptr, 300); }, std::free},
        {aligned, std::free},
        {[] { return std::aligned_alloc(4, 300); }, std::free},
        {[] { return new char[300]; }, [](void* p) { delete[] static_cast<char*>(p); }, false},
        {[] { return ::operator new(300, std::align_val_t(64)); },
         [](void* p) { ::operator delete(p, std::align_val_t(64)); }, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << "row " << &row - rows);
        const AllocationCounter counter;
        void* p = row.make();
        EXPECT_EQ(counter.allocations(), 1);
        EXPECT_EQ(counter.largestRequest(), 300u);
        row.release(p);
        EXPECT_EQ(counter.releases(), 1);
        EXPECT_EQ(counter.frees(), row.isFreed ? 1 : 0);
    }
    const AllocationCounter counter;
    std::free(grown());
    EXPECT_EQ(counter.allocations(), 2);
    EXPECT_EQ(counter.releases(), 2);
}

}  // namespace
}  // namespace KaTessel::tests
