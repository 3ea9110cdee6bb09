#include "recordings/tracks/PitchTrack.h"

#include <cmath>
#include <limits>

namespace katessel {

std::vector<bool> voicedRows(const PitchTrack& track, VoicingRule rule) {
    std::vector<bool> all;
    all.reserve(track.size());
    const auto take = [&](const PitchRow& row, bool voiced) { all.push_back(voiced && row.frequency > 0.0f); };
    KaTessel::VoicingFilter<PitchRow> filter(rule);
    for (const PitchRow& row : track) filter.add(row, row.confidence, take);
    filter.finish(take);
    return all;
}

void applyVoicing(PitchTrack& track, VoicingRule rule) {
    const std::vector<bool> voiced = voicedRows(track, rule);
    for (std::size_t i = 0; i < track.size(); ++i)
        if (!voiced[i]) track[i].frequency = 0.0f;
}

double centsAbove440(float frequency) {
    if (frequency <= 0.0f) return std::numeric_limits<double>::quiet_NaN();
    return 1200.0 * std::log2(frequency / 440.0);
}

double midiNote(float frequency) { return 69.0 + centsAbove440(frequency) / 100.0; }

}  // namespace katessel
