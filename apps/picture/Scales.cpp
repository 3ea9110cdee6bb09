#include "apps/picture/Scales.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "recordings/base/Text.h"

namespace katessel {

namespace {

constexpr double kWideRatio = 12.0;  // of top and bottom, from which on 1, 2 and 5 of a decade are labels enough
constexpr int kMostTicks = 10;

double roundStep(double least) {
    const double decade = std::pow(10.0, std::floor(std::log10(least)));
    for (const double factor : {1.0, 2.0, 5.0})
        if (factor * decade >= least * (1.0 - 1e-9)) return factor * decade;
    return 10.0 * decade;
}

// [s] each a part of the next, or of one that is not far.
constexpr std::array<double, 13> kClockSteps = {1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 900, 1800, 3600};

std::vector<double> multiples(double step, double from, double to) {
    const double slack = 1e-6 * step;
    std::vector<double> all;
    for (double k = std::ceil((from - slack) / step); k * step <= to + slack; k += 1.0)
        all.push_back(k * step + 0.0);  // no -0
    return all;
}

struct Stop {
    double red, green, blue;
};

// Lightness falls in about even steps, so that the picture can be read in grey as well.
constexpr std::array<Stop, 5> kStops = {
    {{255, 255, 255}, {199, 216, 234}, {113, 155, 201}, {42, 86, 148}, {8, 22, 62}}};

}  // namespace

std::vector<double> evenTicks(double from, double to, int most) {
    return multiples(roundStep((to - from) / most), from, to);
}

FrequencyScale::FrequencyScale(double bottom, double top, bool logarithmic)
    : m_bottom(bottom), m_top(top), m_logarithmic(logarithmic) {}

double FrequencyScale::fraction(double frequency) const {
    if (!m_logarithmic) return (frequency - m_bottom) / (m_top - m_bottom);
    return std::log(frequency / m_bottom) / std::log(m_top / m_bottom);
}

double FrequencyScale::frequencyAt(double fraction) const {
    if (!m_logarithmic) return m_bottom + fraction * (m_top - m_bottom);
    return m_bottom * std::pow(m_top / m_bottom, fraction);
}

std::vector<double> FrequencyScale::ticks() const {
    if (!m_logarithmic || m_top / m_bottom < kWideRatio) return evenTicks(m_bottom, m_top, kMostTicks);
    std::vector<double> ticks;
    for (double decade = std::pow(10.0, std::floor(std::log10(m_bottom))); decade <= m_top; decade *= 10.0)
        for (const double factor : {1.0, 2.0, 5.0})
            if (factor * decade >= m_bottom * (1.0 - 1e-9) && factor * decade <= m_top * (1.0 + 1e-9))
                ticks.push_back(factor * decade);
    return ticks;
}

std::vector<double> TimeScale::ticks() const {
    const double least = (m_to - m_from) / m_most;
    if (!isClock() || least <= 0.5) return evenTicks(m_from, m_to, m_most);
    const auto step =
        std::find_if(kClockSteps.begin(), kClockSteps.end() - 1, [&](double each) { return each >= least; });
    return multiples(*step * std::max(std::ceil(least / *step), 1.0), m_from, m_to);
}

std::string TimeScale::label(double time) const {
    if (!isClock()) return shortNumber(time);
    const double whole = std::floor(time + 1e-6), rest = time - whole;
    return clockTime(whole) + (rest < 1e-6 ? "" : shortNumber(std::round(rest * 1e6) / 1e6).substr(1));
}

std::string TimeScale::title() const {
    return !isClock() ? "time [s]" : m_to < 3600.0 ? "time [min:s]" : "time [h:min:s]";
}

std::uint32_t ColourScale::colourOf(double level) const {
    const double position = std::clamp((level - m_bottom) / (m_top - m_bottom), 0.0, 1.0) * (kStops.size() - 1);
    const std::size_t below = std::min(static_cast<std::size_t>(position), kStops.size() - 2);
    const double fraction = position - static_cast<double>(below);
    const auto mix = [&](double from, double to) {
        return static_cast<std::uint32_t>(std::lround(from + fraction * (to - from)));
    };
    const Stop& from = kStops[below];
    const Stop& to = kStops[below + 1];
    return mix(from.red, to.red) << 16 | mix(from.green, to.green) << 8 | mix(from.blue, to.blue);
}

}  // namespace katessel
