// Counts the allocations of this program's own code: operator new and delete, and the C functions, malloc to free.
#pragma once

#include <cstddef>

namespace KaTessel::tests {

// Counts from its construction on, all threads together. What the system's libraries allocate inside, as for a FILE, is
// not counted.
class AllocationCounter {
public:
    AllocationCounter();

    long allocations() const;            // calls of any operator new, of malloc, calloc, realloc and the aligned forms
    long releases() const;               // calls of operator delete, free and realloc with a pointer that is not null
    long frees() const;                  // those of them that are no operator delete
    std::size_t largestRequest() const;  // [bytes] largest single allocation since the newest counter was made

private:
    long m_allocationsBefore, m_deletesBefore, m_freesBefore;
};

}  // namespace KaTessel::tests
