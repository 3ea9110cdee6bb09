// The scales of a picture: where a frequency lies on its axis, which values to label, and levels as colours.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace katessel {

// A frequency axis, from bottom to top.
class FrequencyScale {
public:
    // Logarithmic scales need a bottom above 0; all need a top above the bottom [Hz].
    FrequencyScale(double bottom, double top, bool logarithmic);

    double fraction(double frequency) const;    // 0 at the bottom, 1 at the top
    double frequencyAt(double fraction) const;  // [Hz]
    std::vector<double> ticks() const;          // [Hz] 1, 2, 5 of every decade, or even steps

private:
    double m_bottom, m_top;
    bool m_logarithmic;
};

// Multiples of 1, 2 or 5 times a power of ten from `from` to `to`, at most `most` of them.
std::vector<double> evenTicks(double from, double to, int most);

// A time axis: in seconds, or as a clock has it from two minutes on.
class TimeScale {
public:
    // From and to an instant [s], with at most `most` labels.
    TimeScale(double from, double to, int most) : m_from(from), m_to(to), m_most(most) {}

    std::vector<double> ticks() const;  // [s]
    std::string label(double time) const;
    std::string title() const;

private:
    bool isClock() const { return m_to >= 120.0; }

    double m_from, m_to;
    int m_most;
};

// Levels as colours, light to dark.
class ColourScale {
public:
    // White at `bottom` [dB] and below, nearly black at `top` and above.
    ColourScale(double bottom, double top) : m_bottom(bottom), m_top(top) {}

    std::uint32_t colourOf(double level) const;  // 0x00RRGGBB
    double bottom() const { return m_bottom; }
    double top() const { return m_top; }

private:
    double m_bottom, m_top;  // [dB]
};

}  // namespace katessel
