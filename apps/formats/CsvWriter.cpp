#include "apps/formats/CsvWriter.h"

#include <cmath>
#include <cstdio>

namespace katessel {

namespace {

// printf may give a not-a-number a sign.
void formatPitch(double pitch, char (&text)[32]) {
    if (std::isnan(pitch))
        std::snprintf(text, sizeof text, "nan");
    else
        std::snprintf(text, sizeof text, "%.3f", pitch);
}

std::string columns(const TrackDocument& document, char separator) {
    std::string text;
    for (const char* name : {"time", pitchColumn(document.unit), "confidence"}) {
        if (!text.empty()) text += separator;
        text += name;
    }
    text += '\n';
    forEachRow(document, [&](double time, double value, double confidence) {
        char pitch[32];
        formatPitch(value, pitch);
        char line[96];
        std::snprintf(line, sizeof line, "%.3f%c%s%c%.6f\n", time, separator, pitch, separator, confidence);
        text += line;
    });
    return text;
}

}  // namespace

std::string csvText(const TrackDocument& document) { return columns(document, ','); }

std::string tsvText(const TrackDocument& document) { return columns(document, '\t'); }

}  // namespace katessel
