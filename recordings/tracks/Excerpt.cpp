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

void Excerpt::cut(PitchTrack& track) const {
    for (PitchRow& row : track) row.time += readFrom();
    const double first = start - kRounding;
    const double last = end(std::numeric_limits<double>::infinity()) - kRounding;
    std::erase_if(track, [&](const PitchRow& row) { return row.time < first || row.time >= last; });
}

}  // namespace katessel
