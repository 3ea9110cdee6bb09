#include "PitchTrack.h"

#include <cmath>
#include <limits>

void applyThreshold(PitchTrack& track, double threshold) {
    for (PitchRow& row : track)
        if (row.confidence < threshold) row.frequency = 0.0f;
}

double centsAbove440(float frequency) {
    if (frequency <= 0.0f) return std::numeric_limits<double>::quiet_NaN();
    return 1200.0 * std::log2(frequency / 440.0);
}
