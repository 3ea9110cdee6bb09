// What the library prints on standard output, as a string.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace KaTessel::tests {

// Captures file descriptor 1 from its construction until text() or its end.
class CapturedStdout {
public:
    CapturedStdout() {
        m_file = std::tmpfile();
        if (m_file == nullptr) throw std::runtime_error("no temporary file for standard output");
        std::fflush(stdout);
        m_original = dup(1);
        dup2(fileno(m_file), 1);
    }
    ~CapturedStdout() {
        restore();
        std::fclose(m_file);
    }
    CapturedStdout(const CapturedStdout&) = delete;
    CapturedStdout& operator=(const CapturedStdout&) = delete;

    // Ends the capture and returns everything that was printed.
    std::string text() {
        restore();
        std::fseek(m_file, 0, SEEK_END);
        std::string all(static_cast<std::size_t>(std::ftell(m_file)), '\0');
        std::rewind(m_file);
        all.resize(std::fread(all.data(), 1, all.size(), m_file));
        return all;
    }

private:
    void restore() {
        if (m_original < 0) return;
        std::fflush(stdout);
        dup2(m_original, 1);
        close(m_original);
        m_original = -1;
    }

    std::FILE* m_file = nullptr;
    int m_original = -1;
};

// In a death test's child: sends standard output where the test framework looks, to standard error.
inline void sendStdoutToStderr() { dup2(2, 1); }

}  // namespace KaTessel::tests
