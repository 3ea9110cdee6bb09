#include "support/GuardedBuffer.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <new>

namespace KaTessel::tests {

FencedInput::FencedInput(const std::vector<float>& values) {
    const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t readable = (values.size() * sizeof(float) / page + 1) * page;
    m_bytes = readable + page;
    m_pages = mmap(nullptr, m_bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (m_pages == MAP_FAILED) throw std::bad_alloc();
    char* fence = static_cast<char*>(m_pages) + readable;
    mprotect(fence, page, PROT_NONE);
    m_data = reinterpret_cast<float*>(fence) - values.size();
    std::copy(values.begin(), values.end(), m_data);
}

FencedInput::~FencedInput() { munmap(m_pages, m_bytes); }

}  // namespace KaTessel::tests
