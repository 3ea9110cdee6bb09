// The progress of a run: one line on the terminal, drawn again and again.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace katessel {

class Progress {
public:
    // Draws nothing unless it is wanted and standard error is a terminal. One thread at a time.
    Progress(std::size_t recordings, bool wanted);

    // One more recording is done, of so many seconds; 0 for one that could not be tracked.
    void advance(double seconds);

    // Takes the line away, to make room for a message or at the end.
    void erase();

private:
    void draw();
    double elapsed() const;  // [s] since the start

    std::size_t m_total;
    bool m_visible;
    std::size_t m_done = 0;
    double m_seconds = 0.0;  // of sound
    double m_drawn = -1.0;   // [s] after the start, of the last drawing
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

// The line, 0 < done <= total: "[#####-----] 5 of 10 recordings, 140 x real time, 0:07 left".
std::string progressLine(std::size_t done, std::size_t total, double soundSeconds, double elapsed);

}  // namespace katessel
