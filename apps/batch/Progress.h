// The progress of something long: one line on the terminal, drawn again and again.
#pragma once

#include <chrono>
#include <string>

namespace katessel {

class Progress {
public:
    // Draws nothing unless it is wanted and standard error is a terminal, nor before `patience` seconds. One thread at a time.
    Progress(bool wanted, double patience);

    // Begins again, at nothing done.
    void restart();

    // Whether what `advance` says would be seen.
    bool isDue() const;

    // `share` of the work is done, 0 to 1, below 0 where nobody knows; `what` says the same in words, and `seconds` how much
    // sound that is.
    void advance(double share, const std::string& what, double seconds);

    // Takes the line away, to make room for a message or at the end.
    void erase();

private:
    double elapsed() const;  // [s] since the start

    bool m_visible;
    double m_patience;
    double m_drawn = -1.0;  // [s] after the start, of the last drawing
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

// The line: "[#####-----] 5 of 10 recordings, 140 x real time, 0:07 left".
std::string progressLine(double share, const std::string& what, double seconds, double elapsed);

}  // namespace katessel
