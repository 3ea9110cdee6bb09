#include "apps/formats/LabWriter.h"

#include <cstdio>

namespace katessel {

std::string labText(const TrackDocument& document) {
    const PitchTrack& track = document.track;
    std::string text;
    double begin = document.start;
    for (std::size_t i = 0; i < track.size(); ++i) {
        const bool voiced = track[i].frequency > 0.0f;
        const bool isLast = i + 1 == track.size();
        if (!isLast && (track[i + 1].frequency > 0.0f) == voiced) continue;
        const double end = isLast ? document.end : 0.5 * (track[i].time + track[i + 1].time);
        char line[64];
        std::snprintf(line, sizeof line, "%.4f\t%.4f\t%s\n", begin, end, voiced ? "voiced" : "unvoiced");
        text += line;
        begin = end;
    }
    return text;
}

}  // namespace katessel
