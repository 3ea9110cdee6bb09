#include "apps/picture/Envelope.h"

#include <algorithm>
#include <cmath>

namespace katessel {

namespace {

// Of at least one value.
double quantile(std::vector<double>& values, double share) {
    const auto place = values.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

}  // namespace

std::vector<ColumnSpan> columnSpans(const PitchTrack& track, const std::function<double(const PitchRow&)>& valueOf,
                                    double start, double duration, int columns) {
    std::vector<std::vector<double>> values(static_cast<std::size_t>(columns));
    for (const PitchRow& row : track) {
        const double column = std::floor((row.time - start) / duration * columns), value = valueOf(row);
        if (column >= 0.0 && column < columns && !std::isnan(value))
            values[static_cast<std::size_t>(column)].push_back(value);
    }
    std::vector<ColumnSpan> spans;
    for (std::size_t c = 0; c < values.size(); ++c) {
        if (values[c].empty()) continue;
        const double time = start + (static_cast<double>(c) + 0.5) / columns * duration;
        spans.push_back({time, quantile(values[c], 0.25), quantile(values[c], 0.5), quantile(values[c], 0.75)});
    }
    return spans;
}

}  // namespace katessel
