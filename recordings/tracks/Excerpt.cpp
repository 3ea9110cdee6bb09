#include "recordings/tracks/Excerpt.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace katessel {

namespace {

constexpr double kMargin = 1.0;     // [s] far more than any row hears
constexpr double kRounding = 1e-9;  // [s] that instants may be off

}  // namespace

double Excerpt::readFrom() const { return std::max(0.0, std::floor(start) - kMargin); }

double Excerpt::readTo() const {
    return duration ? start + *duration + kMargin : std::numeric_limits<double>::infinity();
}

double Excerpt::end(double recordingEnd) const {
    return duration ? std::min(start + *duration, recordingEnd) : recordingEnd;
}

bool Excerpt::holds(double time) const {
    return time >= start - kRounding && time < end(std::numeric_limits<double>::infinity()) - kRounding;
}

}  // namespace katessel
