#include "apps/batch/Progress.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>

#include "recordings/base/Text.h"

namespace katessel {

namespace {

constexpr double kRedrawSeconds = 0.1;
constexpr std::size_t kBarWidth = 20;

}  // namespace

std::string progressLine(double share, const std::string& what, double seconds, double elapsed) {
    std::string line;
    if (share >= 0.0) {
        const auto filled = static_cast<std::size_t>(std::min(share, 1.0) * kBarWidth);
        line.append("[").append(filled, '#').append(kBarWidth - filled, '-').append("] ");
    }
    line.append(what).append(", ").append(fixedText(elapsed > 0.0 ? seconds / elapsed : 0.0, 0)).append(" x real time");
    if (share > 0.0) line.append(", ").append(clockTime(elapsed * std::max(1.0 - share, 0.0) / share)).append(" left");
    return line;
}

Progress::Progress(bool wanted, double patience)
    : m_visible(wanted && ::isatty(STDERR_FILENO) != 0), m_patience(patience) {}

bool Progress::isDue() const {
    if (!m_visible) return false;
    const double now = elapsed();
    return now >= m_patience && std::fabs(now - m_drawn) >= kRedrawSeconds;
}

void Progress::restart() { m_start = std::chrono::steady_clock::now(); }

void Progress::advance(double share, const std::string& what, double seconds) {
    if (!isDue()) return;
    m_drawn = elapsed();
    std::fprintf(stderr, "\r%s\033[K", progressLine(share, what, seconds, m_drawn).c_str());
    std::fflush(stderr);
}

void Progress::erase() {
    if (!m_visible || m_drawn < 0.0) return;
    std::fputs("\r\033[K", stderr);
    m_drawn = -1.0;
}

double Progress::elapsed() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
}

}  // namespace katessel
