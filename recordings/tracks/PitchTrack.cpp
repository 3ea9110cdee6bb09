#include "recordings/tracks/PitchTrack.h"

#include <cmath>
#include <limits>

namespace katessel {

void applyThreshold(PitchTrack& track, double threshold) {
    const float least = static_cast<float>(threshold);  // as every other user of a card compares
    for (PitchRow& row : track)
        if (row.confidence < least) row.frequency = 0.0f;
}

void applyRange(PitchTrack& track, double lowest, double highest) {
    for (PitchRow& row : track)
        if (row.frequency < lowest || row.frequency > highest) row.frequency = 0.0f;
}

double centsAbove440(float frequency) {
    if (frequency <= 0.0f) return std::numeric_limits<double>::quiet_NaN();
    return 1200.0 * std::log2(frequency / 440.0);
}

double midiNote(float frequency) { return 69.0 + centsAbove440(frequency) / 100.0; }

}  // namespace katessel
