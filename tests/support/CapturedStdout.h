// What the library prints on standard output, as a string.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

namespace KaTessel::tests {

// Captures file descriptor 1 from its construction until text() or its end.
class CapturedStdout {
public:
    CapturedStdout() {
        char path[] = "/tmp/katessel-stdout-XXXXXX";
        m_file = mkstemp(path);
        if (m_file < 0) throw std::runtime_error("no temporary file for standard output");
        unlink(path);
        std::fflush(stdout);
        m_original = dup(STDOUT_FILENO);
        dup2(m_file, STDOUT_FILENO);
    }
    ~CapturedStdout() {
        restore();
        close(m_file);
    }
    CapturedStdout(const CapturedStdout&) = delete;
    CapturedStdout& operator=(const CapturedStdout&) = delete;

    // Ends the capture and returns everything that was printed.
    std::string text() {
        restore();
        std::string all(static_cast<std::size_t>(lseek(m_file, 0, SEEK_END)), '\0');
        if (pread(m_file, all.data(), all.size(), 0) < 0) throw std::runtime_error("cannot read back standard output");
        return all;
    }

private:
    void restore() {
        if (m_original < 0) return;
        std::fflush(stdout);
        dup2(m_original, STDOUT_FILENO);
        close(m_original);
        m_original = -1;
    }

    int m_file = -1;
    int m_original = -1;
};

// In a death test's child: sends standard output where the test framework looks, to standard error.
inline void sendStdoutToStderr() { dup2(STDERR_FILENO, STDOUT_FILENO); }

}  // namespace KaTessel::tests
