// What the library prints on standard output, as a string.
#pragma once

#include <string>

namespace KaTessel::tests {

// Captures file descriptor 1 from its construction until text() or its end.
class CapturedStdout {
public:
    CapturedStdout();
    ~CapturedStdout();
    CapturedStdout(const CapturedStdout&) = delete;
    CapturedStdout& operator=(const CapturedStdout&) = delete;

    // Ends the capture and returns everything that was printed.
    std::string text();

private:
    void restore();

    int m_file = -1;
    int m_original = -1;
};

// In a death test's child: sends standard output where the test framework looks, to standard error.
void sendStdoutToStderr();

}  // namespace KaTessel::tests
