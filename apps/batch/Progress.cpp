#include "apps/batch/Progress.h"

#include <unistd.h>

#include <cmath>
#include <cstdio>

namespace katessel {

namespace {

constexpr double kRedrawSeconds = 0.1;
constexpr std::size_t kBarWidth = 20;

std::string clockTime(double seconds) {
    const long all = std::lround(seconds);
    char text[32];
    if (all >= 3600)
        std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", all / 3600, all / 60 % 60, all % 60);
    else
        std::snprintf(text, sizeof text, "%ld:%02ld", all / 60, all % 60);
    return text;
}

}  // namespace

std::string progressLine(std::size_t done, std::size_t total, double soundSeconds, double elapsed) {
    const std::size_t filled = kBarWidth * done / total;
    const double left = elapsed * static_cast<double>(total - done) / static_cast<double>(done);
    char numbers[128];
    std::snprintf(numbers, sizeof numbers, "] %zu of %zu recordings, %.0f x real time, ", done, total,
                  elapsed > 0.0 ? soundSeconds / elapsed : 0.0);
    std::string line = "[";
    line.append(filled, '#').append(kBarWidth - filled, '-').append(numbers).append(clockTime(left)).append(" left");
    return line;
}

Progress::Progress(std::size_t recordings, bool wanted)
    : m_total(recordings), m_visible(wanted && ::isatty(STDERR_FILENO) != 0) {}

void Progress::advance(double seconds) {
    ++m_done;
    m_seconds += seconds;
    if (m_visible && elapsed() - m_drawn >= kRedrawSeconds) draw();
}

void Progress::erase() {
    if (!m_visible || m_drawn < 0.0) return;
    std::fputs("\r\033[K", stderr);
    m_drawn = -1.0;
}

void Progress::draw() {
    m_drawn = elapsed();
    std::fprintf(stderr, "\r%s\033[K", progressLine(m_done, m_total, m_seconds, m_drawn).c_str());
    std::fflush(stderr);
}

double Progress::elapsed() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
}

}  // namespace katessel
