#include "recordings/audio/Excerpt.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "recordings/audio/SoundSource.h"
#include "recordings/base/Errors.h"
#include "recordings/base/Text.h"

namespace katessel {

namespace {

constexpr double kMargin = 1.0;     // [s] far more than any row hears
constexpr double kRounding = 1e-9;  // [s] that instants may be off

}  // namespace

double Excerpt::readFrom() const { return std::max(0.0, std::floor(start) - kMargin); }

double Excerpt::readTo() const {
    return duration ? start + *duration + kMargin : std::numeric_limits<double>::infinity();
}

double Excerpt::end(double recordingEnd, const std::string& path) const {
    if (recordingEnd <= start) fail(kCannotRead, path, "sound at " + shortNumber(start) + " s", "its end before that");
    return duration ? std::min(start + *duration, recordingEnd) : recordingEnd;
}

bool Excerpt::holds(double time) const {
    return time >= start - kRounding && !(duration && time >= start + *duration - kRounding);
}

}  // namespace katessel
