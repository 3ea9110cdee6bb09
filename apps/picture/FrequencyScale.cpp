#include "apps/picture/FrequencyScale.h"

#include <algorithm>
#include <cmath>

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

}  // namespace

std::vector<double> evenTicks(double from, double to, int most) {
    const double step = roundStep((to - from) / most);
    const double slack = 1e-6 * step;
    std::vector<double> ticks;
    for (double k = std::ceil((from - slack) / step); k * step <= to + slack; k += 1.0)
        ticks.push_back(k * step + 0.0);  // no -0
    return ticks;
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

}  // namespace katessel
