#include "apps/formats/PitchTierWriter.h"

#include <cstdio>

namespace katessel {

namespace {

// One "name = value" line.
std::string line(const char* name, double value, int decimals) {
    char text[64];
    std::snprintf(text, sizeof text, "%s = %.*f\n", name, decimals, value);
    return text;
}

}  // namespace

std::string pitchTierText(const TrackDocument& document) {
    std::string points;
    std::size_t count = 0;
    for (const PitchRow& row : document.track) {
        if (row.frequency <= 0.0f) continue;
        points += "points [" + std::to_string(++count) + "]:\n";
        points += line("    number", row.time, 6);
        points += line("    value", row.frequency, 3);
    }
    return "File type = \"ooTextFile\"\nObject class = \"PitchTier\"\n\n" + line("xmin", document.start, 6) +
           line("xmax", document.end, 6) + "points: size = " + std::to_string(count) + "\n" + points;
}

}  // namespace katessel
