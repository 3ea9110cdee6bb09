// Levels as colours, light to dark.
#pragma once

#include <cstdint>

namespace katessel {

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
