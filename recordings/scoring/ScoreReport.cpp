#include "recordings/scoring/ScoreReport.h"

#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>

namespace katessel {

namespace {

struct Figure {
    const char* key;    // in CSV and JSON
    const char* label;  // in the table
    const char* format;
    double (*value)(const Scores&);
};

const Figure kFigures[] = {
    {"f1", "F1", "%.3f", [](const Scores& s) { return s.f1(); }},
    {"raw_pitch_accuracy_50", "RPA 50", "%.3f", [](const Scores& s) { return s.rawPitchAccuracy(50); }},
    {"raw_pitch_accuracy_25", "25", "%.3f", [](const Scores& s) { return s.rawPitchAccuracy(25); }},
    {"raw_pitch_accuracy_10", "10", "%.3f", [](const Scores& s) { return s.rawPitchAccuracy(10); }},
    {"raw_chroma_accuracy", "RCA", "%.3f", [](const Scores& s) { return s.rawChromaAccuracy(); }},
    {"gross_error_rate", "gross", "%.3f", [](const Scores& s) { return s.grossErrorRate(); }},
    {"voicing_recall", "recall", "%.3f", [](const Scores& s) { return s.voicingRecall(); }},
    {"voicing_false_alarm", "f.alarm", "%.3f", [](const Scores& s) { return s.voicingFalseAlarm(); }},
    {"overall_accuracy", "overall", "%.3f", [](const Scores& s) { return s.overallAccuracy(); }},
    {"median_cents", "cents", "%.1f", [](const Scores& s) { return s.medianCents(); }},
    {"offset_ms", "late ms", "%.1f", [](const Scores& s) { return 1000.0 * s.offsetSeconds(); }},
    {"calibration_error", "calib.", "%.3f", [](const Scores& s) { return s.calibrationError(); }},
};

std::string formatted(const Figure& figure, const Scores& scores, const char* missing) {
    const double value = figure.value(scores);
    if (!std::isfinite(value)) return missing;
    char text[32];
    std::snprintf(text, sizeof text, figure.format, value);
    return text;
}

// As a CSV field.
std::string quoted(const std::string& text) {
    if (text.find_first_of(",\"\n") == std::string::npos) return text;
    std::string all = "\"";
    for (char c : text) all.append(c == '"' ? 2 : 1, c);
    all.push_back('"');
    return all;
}

std::string padded(const std::string& text, int width) {
    char cell[256];
    std::snprintf(cell, sizeof cell, "%*s", width, text.c_str());
    return cell;
}

}  // namespace

std::string scoreTable(const std::vector<ScoredGroup>& groups) {
    std::string table = padded("", -24) + padded("clips", 6) + padded("minutes", 8);
    for (const Figure& figure : kFigures) table += padded(figure.label, 8);
    table += "\n";
    for (const ScoredGroup& group : groups) {
        char minutes[32];
        std::snprintf(minutes, sizeof minutes, "%.1f", static_cast<double>(group.scores.frames()) * 0.005 / 60.0);
        table += padded(group.name, -24) + padded(std::to_string(group.recordings), 6) + padded(minutes, 8);
        for (const Figure& figure : kFigures) table += padded(formatted(figure, group.scores, "-"), 8);
        table += "\n";
    }
    table += "\nconfidence, and how often such frames are voiced (all recordings)\n";
    for (const Scores::CalibrationBin& bin : groups.back().scores.calibration()) {
        if (bin.frames == 0) continue;
        char line[96];
        std::snprintf(line, sizeof line, "  %.2f  %.3f  %9lld frames\n", bin.confidence, bin.voiced,
                      static_cast<long long>(bin.frames));
        table += line;
    }
    return table;
}

std::string scoreCsv(const std::vector<ScoredGroup>& groups) {
    std::string text = "group,recordings,frames";
    for (const Figure& figure : kFigures) text.append(",").append(figure.key);
    text += "\n";
    for (const ScoredGroup& group : groups) {
        text.append(quoted(group.name)).append(",").append(std::to_string(group.recordings));
        text.append(",").append(std::to_string(group.scores.frames()));
        for (const Figure& figure : kFigures) text.append(",").append(formatted(figure, group.scores, ""));
        text += "\n";
    }
    return text;
}

std::string scoreJson(const std::vector<ScoredGroup>& groups) {
    nlohmann::ordered_json all = nlohmann::ordered_json::array();
    for (const ScoredGroup& group : groups) {
        nlohmann::ordered_json entry = {
            {"group", group.name}, {"recordings", group.recordings}, {"frames", group.scores.frames()}};
        for (const Figure& figure : kFigures) entry[figure.key] = figure.value(group.scores);  // null: undefined
        for (const Scores::CalibrationBin& bin : group.scores.calibration())
            entry["calibration"].push_back(
                {{"confidence", bin.confidence}, {"voiced", bin.voiced}, {"frames", bin.frames}});
        all.push_back(entry);
    }
    return all.dump(2) + "\n";
}

}  // namespace katessel
