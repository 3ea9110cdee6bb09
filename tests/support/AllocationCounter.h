// Counts what goes through operator new and delete, in the whole program.
#pragma once

#include <cstddef>

namespace KaTessel::tests {

// Counts from its construction on, allocations of all threads together.
class AllocationCounter {
public:
    AllocationCounter();

    long allocations() const;           // calls of any operator new
    long releases() const;              // calls of any operator delete with a pointer that is not null
    std::size_t largestRequest() const; // [bytes] largest single allocation since the newest counter was made

private:
    long m_allocationsBefore;
    long m_releasesBefore;
};

}  // namespace KaTessel::tests
