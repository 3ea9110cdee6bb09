// Tracks as text: columns, segments, points.
#include <algorithm>
#include <cmath>

#include "apps/formats/TrackFormat.h"
#include "recordings/base/Text.h"

namespace katessel {

namespace {

std::string columns(const TrackDocument& document, char separator) {
    std::string text = "time";
    for (const char* name : {pitchColumn(document.unit), "confidence"}) text.append(1, separator).append(name);
    text += '\n';
    forEachRow(document, [&](double time, double pitch, double confidence) {
        text += csvLine(time, pitch, confidence, separator);
    });
    return text;
}

// One "name = value" line of a PitchTier.
std::string entry(const char* name, double value, int decimals) {
    return name + (" = " + fixedText(value, decimals)) + "\n";
}

}  // namespace

std::string csvLine(double time, double pitch, double confidence, char separator) {
    return fixedText(time, 3) + separator + fixedText(pitch, 3) + separator + fixedText(confidence, 6) + '\n';
}

std::string csvText(const TrackDocument& document) { return columns(document, ','); }

std::string tsvText(const TrackDocument& document) { return columns(document, '\t'); }

std::string f0Text(const TrackDocument& document) {
    std::vector<float> frequencies;
    for (const PitchRow& row : document.track) {
        const auto frame = static_cast<std::size_t>(std::lround(row.time / kHopSeconds));
        frequencies.resize(std::max(frequencies.size(), frame + 1), -1.0f);
        frequencies[frame] = row.frequency;
    }
    std::string text;
    for (std::size_t f = 0; f < frequencies.size(); ++f)
        text += fixedText(static_cast<double>(f) * kHopSeconds, 3) + ' ' + fixedText(frequencies[f], 3) + '\n';
    return text;
}

std::string labText(const TrackDocument& document) {
    const PitchTrack& track = document.track;
    std::string text;
    double begin = document.start;
    for (std::size_t i = 0; i < track.size(); ++i) {
        const bool voiced = track[i].frequency > 0.0f;
        const bool isLast = i + 1 == track.size();
        if (!isLast && (track[i + 1].frequency > 0.0f) == voiced) continue;
        const double end = isLast ? document.end : 0.5 * (track[i].time + track[i + 1].time);
        text += fixedText(begin, 4) + '\t' + fixedText(end, 4) + '\t' + (voiced ? "voiced" : "unvoiced") + '\n';
        begin = end;
    }
    return text;
}

std::string pitchTierText(const TrackDocument& document) {
    std::string points;
    std::size_t count = 0;
    for (const PitchRow& row : document.track) {
        if (row.frequency <= 0.0f) continue;
        points += "points [" + std::to_string(++count) + "]:\n";
        points += entry("    number", row.time, 6);
        points += entry("    value", row.frequency, 3);
    }
    return "File type = \"ooTextFile\"\nObject class = \"PitchTier\"\n\n" + entry("xmin", document.start, 6) +
           entry("xmax", document.end, 6) + "points: size = " + std::to_string(count) + "\n" + points;
}

}  // namespace katessel
