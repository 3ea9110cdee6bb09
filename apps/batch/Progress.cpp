#include "apps/batch/Progress.h"

#include <unistd.h>

#include <cstdio>

#include "recordings/base/Text.h"

namespace katessel {

namespace {

constexpr double kRedrawSeconds = 0.1;
constexpr std::size_t kBarWidth = 20;

}  // namespace

std::string progressLine(std::size_t done, std::size_t total, double soundSeconds, double elapsed) {
    const std::size_t filled = kBarWidth * done / total;
    const double left = elapsed * static_cast<double>(total - done) / static_cast<double>(done);
    std::string line = "[";
    line.append(filled, '#').append(kBarWidth - filled, '-').append("] ").append(std::to_string(done)).append(" of ");
    line.append(std::to_string(total)).append(" recordings, ");
    line.append(fixedText(elapsed > 0.0 ? soundSeconds / elapsed : 0.0, 0)).append(" x real time, ");
    return line.append(clockTime(left)).append(" left");
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
