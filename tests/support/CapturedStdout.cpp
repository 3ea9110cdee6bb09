#include "support/CapturedStdout.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace KaTessel::tests {

CapturedStdout::CapturedStdout() {
    char path[] = "/tmp/katessel-stdout-XXXXXX";
    m_file = mkstemp(path);
    if (m_file < 0) throw std::runtime_error("no temporary file for standard output");
    unlink(path);
    std::fflush(stdout);
    m_original = dup(STDOUT_FILENO);
    dup2(m_file, STDOUT_FILENO);
}

CapturedStdout::~CapturedStdout() {
    restore();
    close(m_file);
}

void CapturedStdout::restore() {
    if (m_original < 0) return;
    std::fflush(stdout);
    dup2(m_original, STDOUT_FILENO);
    close(m_original);
    m_original = -1;
}

std::string CapturedStdout::text() {
    restore();
    std::string all;
    lseek(m_file, 0, SEEK_SET);
    char part[4096];
    for (ssize_t n; (n = read(m_file, part, sizeof part)) > 0;) all.append(part, static_cast<std::size_t>(n));
    return all;
}

void sendStdoutToStderr() { dup2(STDERR_FILENO, STDOUT_FILENO); }

}  // namespace KaTessel::tests
