// The frequency axis of a picture: where a frequency lies between bottom and top, and which frequencies to label.
#pragma once

#include <vector>

namespace katessel {

class FrequencyScale {
public:
    // Logarithmic scales need a bottom above 0; all need a top above the bottom [Hz].
    FrequencyScale(double bottom, double top, bool logarithmic);

    double fraction(double frequency) const;  // 0 at the bottom, 1 at the top
    double frequencyAt(double fraction) const;  // [Hz]
    std::vector<double> ticks() const;          // [Hz] 1, 2, 5 of every decade, or even steps

private:
    double m_bottom, m_top;
    bool m_logarithmic;
};

// Multiples of 1, 2 or 5 times a power of ten from `from` to `to`, at most `most` of them.
std::vector<double> evenTicks(double from, double to, int most);

}  // namespace katessel
