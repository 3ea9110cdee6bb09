// What can be seen of a track where many of its rows fall into one column of pixels.
#pragma once

#include <functional>
#include <vector>

#include "recordings/tracks/PitchTrack.h"

namespace katessel {

// The rows of one column.
struct ColumnSpan {
    double time = 0.0;                           // [s] its middle
    double low = 0.0, middle = 0.0, high = 0.0;  // a quarter of their values, half and three quarters lie below
};

// From `start` [s] on, `duration` long, in so many columns; those without a value are left out. `valueOf` gives NaN for a row
// that has none.
std::vector<ColumnSpan> columnSpans(const PitchTrack& track, const std::function<double(const PitchRow&)>& valueOf,
                                    double start, double duration, int columns);

// Rows in a column, from which on its spans are more than a line through all of them would be.
constexpr double kManyRows = 8.0;

}  // namespace katessel
