#include "CsvWriter.h"

#include <cmath>
#include <cstdio>

namespace {

// printf may give a not-a-number a sign.
void formatPitch(double pitch, char (&text)[32]) {
    if (std::isnan(pitch))
        std::snprintf(text, sizeof text, "nan");
    else
        std::snprintf(text, sizeof text, "%.3f", pitch);
}

}  // namespace

std::string csvText(const PitchTrack& track, PitchUnit unit) {
    const bool cents = unit == PitchUnit::cents;
    std::string text = cents ? "time,cents,confidence\n" : "time,frequency,confidence\n";
    for (const PitchRow& row : track) {
        char pitch[32];
        formatPitch(cents ? centsAbove440(row.frequency) : row.frequency, pitch);
        char line[96];
        std::snprintf(line, sizeof line, "%.3f,%s,%.6f\n", row.time, pitch, static_cast<double>(row.confidence));
        text += line;
    }
    return text;
}
