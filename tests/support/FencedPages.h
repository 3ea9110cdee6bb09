// Memory behind which lies a page that nobody may touch.
#pragma once

#include <cstddef>
#include <new>

#ifdef _WIN32
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace KaTessel::tests {

class FencedPages {
public:
    explicit FencedPages(std::size_t bytes) {
#ifdef _WIN32
        const std::size_t page = 4096;
#else
        const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
#endif
        const std::size_t readable = (bytes / page + 1) * page;
        m_bytes = readable + page;
#ifdef _WIN32
        m_pages = VirtualAlloc(nullptr, m_bytes, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
        if (m_pages == nullptr) throw std::bad_alloc();
        m_fence = static_cast<char*>(m_pages) + readable;
        DWORD before;
        VirtualProtect(m_fence, page, PAGE_NOACCESS, &before);
#else
        m_pages = mmap(nullptr, m_bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (m_pages == MAP_FAILED) throw std::bad_alloc();
        m_fence = static_cast<char*>(m_pages) + readable;
        mprotect(m_fence, page, PROT_NONE);
#endif
    }
#ifdef _WIN32
    ~FencedPages() { VirtualFree(m_pages, 0, MEM_RELEASE); }
#else
    ~FencedPages() { munmap(m_pages, m_bytes); }
#endif
    FencedPages(const FencedPages&) = delete;
    FencedPages& operator=(const FencedPages&) = delete;

    // The first byte that stops the program.
    char* fence() { return m_fence; }

private:
    void* m_pages = nullptr;
    std::size_t m_bytes = 0;
    char* m_fence = nullptr;
};

}  // namespace KaTessel::tests
