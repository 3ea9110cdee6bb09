#include "recordings/scoring/ScoreReport.h"

#include <cmath>
#include <nlohmann/json.hpp>

#include "recordings/base/Text.h"

namespace katessel {

namespace {

struct Figure {
    const char* key;    // in CSV and JSON
    const char* label;  // in the table
    int decimals;
    double (*value)(const Scores&);
};

const Figure kFigures[] = {
    {"f1", "F1", 3, [](const Scores& s) { return s.f1(); }},
    {"raw_pitch_accuracy_50", "RPA 50", 3, [](const Scores& s) { return s.rawPitchAccuracy(50); }},
    {"raw_pitch_accuracy_25", "25", 3, [](const Scores& s) { return s.rawPitchAccuracy(25); }},
    {"raw_pitch_accuracy_10", "10", 3, [](const Scores& s) { return s.rawPitchAccuracy(10); }},
    {"raw_chroma_accuracy", "RCA", 3, [](const Scores& s) { return s.rawChromaAccuracy(); }},
    {"gross_error_rate", "gross", 3, [](const Scores& s) { return s.grossErrorRate(); }},
    {"voicing_recall", "recall", 3, [](const Scores& s) { return s.voicingRecall(); }},
    {"voicing_false_alarm", "f.alarm", 3, [](const Scores& s) { return s.voicingFalseAlarm(); }},
    {"overall_accuracy", "overall", 3, [](const Scores& s) { return s.overallAccuracy(); }},
    {"median_cents", "cents", 1, [](const Scores& s) { return s.medianCents(); }},
    {"offset_ms", "late ms", 1, [](const Scores& s) { return 1000.0 * s.offsetSeconds(); }},
    {"calibration_error", "calib.", 3, [](const Scores& s) { return s.calibrationError(); }},
};

std::string formatted(const Figure& figure, const Scores& scores, const char* missing) {
    const double value = figure.value(scores);
    return std::isfinite(value) ? fixedText(value, figure.decimals) : missing;
}

// As a CSV field.
std::string quoted(const std::string& text) {
    if (text.find_first_of(",\"\n") == std::string::npos) return text;
    std::string all = "\"";
    for (char c : text) all.append(c == '"' ? 2 : 1, c);
    all.push_back('"');
    return all;
}

}  // namespace

std::string scoreTable(const std::vector<ScoredGroup>& groups) {
    std::string table = leftAligned("", 24) + rightAligned("clips", 6) + rightAligned("minutes", 8);
    for (const Figure& figure : kFigures) table += rightAligned(figure.label, 8);
    table += "\n";
    for (const ScoredGroup& group : groups) {
        const double minutes = static_cast<double>(group.scores.frames()) * kHopSeconds / 60.0;
        table += leftAligned(group.name, 24) + rightAligned(std::to_string(group.recordings), 6) +
                 rightAligned(fixedText(minutes, 1), 8);
        for (const Figure& figure : kFigures) table += rightAligned(formatted(figure, group.scores, "-"), 8);
        table += "\n";
    }
    table += "\nconfidence, and how often such frames are right (all recordings)\n";
    for (const Scores::CalibrationBin& bin : groups.back().scores.calibration()) {
        if (bin.frames == 0) continue;
        table += "  " + fixedText(bin.confidence, 2) + "  " + fixedText(bin.right, 3) + "  " +
                 rightAligned(std::to_string(bin.frames), 9) + " frames\n";
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
                {{"confidence", bin.confidence}, {"right", bin.right}, {"frames", bin.frames}});
        all.push_back(entry);
    }
    return all.dump(2) + "\n";
}

}  // namespace katessel
