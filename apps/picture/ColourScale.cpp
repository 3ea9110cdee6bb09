#include "apps/picture/ColourScale.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace katessel {

namespace {

struct Stop {
    double red, green, blue;
};

// Each is darker than the one before by about as much, so that the picture can be read in grey as well.
constexpr std::array<Stop, 5> kStops = {{{255, 255, 255}, {199, 216, 234}, {113, 155, 201}, {42, 86, 148}, {8, 22, 62}}};

}  // namespace

std::uint32_t ColourScale::colourOf(double level) const {
    const double position = std::clamp((level - m_bottom) / (m_top - m_bottom), 0.0, 1.0) * (kStops.size() - 1);
    const std::size_t below = std::min(static_cast<std::size_t>(position), kStops.size() - 2);
    const double part = position - static_cast<double>(below);
    const auto mix = [&](double from, double to) {
        return static_cast<std::uint32_t>(std::lround(from + part * (to - from)));
    };
    const Stop& from = kStops[below];
    const Stop& to = kStops[below + 1];
    return mix(from.red, to.red) << 16 | mix(from.green, to.green) << 8 | mix(from.blue, to.blue);
}

}  // namespace katessel
