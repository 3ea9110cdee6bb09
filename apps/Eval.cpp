#include "Eval.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <map>
#include <utility>

#include "AudioFile.h"
#include "Errors.h"
#include "ModelCard.h"
#include "ModelCheck.h"
#include "ModelPath.h"
#include "OfflineTrack.h"
#include "OutputFile.h"
#include "Reference.h"
#include "ScoreReport.h"
#include "StreamTrack.h"

namespace fs = std::filesystem;

namespace {

constexpr char kCannotEvaluate[] = "cannot evaluate";

// Recordings below a folder that have an .f0 file beside them, by folder.
std::map<std::string, std::vector<fs::path>> findRecordings(const fs::path& root) {
    std::map<std::string, std::vector<fs::path>> byFolder;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root)) {
        const fs::path& path = entry.path();
        if (!entry.is_regular_file() || path.extension() == ".f0" || path.extension() == ".csv") continue;
        fs::path truth = path;
        if (!fs::is_regular_file(truth.replace_extension(".f0"))) continue;
        const std::string folder = path.parent_path().lexically_relative(root).string();
        byFolder[folder == "." ? root.filename().string() : folder].push_back(path);
    }
    for (auto& [folder, paths] : byFolder) std::sort(paths.begin(), paths.end());
    return byFolder;
}

// A track as frames from instant 0 on, voicing undecided.
std::vector<RawFrame> rawFrames(const PitchTrack& track) {
    std::vector<RawFrame> frames;
    for (const PitchRow& row : track) frames.push_back({row.frequency, row.confidence});
    return frames;
}

Scores scoreRecording(const fs::path& path, const EvalOptions& options, const std::string& model, double threshold) {
    fs::path truth = path;
    const std::vector<float> frequencies = readReference(truth.replace_extension(".f0").string());
    Recording recording = readRecording(path.string());
    const PitchTrack track = options.mode == TrackMode::live
                                 ? streamTrack(recording, path.string(), model)
                                 : offlineTrack(std::move(recording), path.string(), model);
    Scores scores;
    scores.add(frequencies, rawFrames(track), threshold);
    return scores;
}

std::vector<ScoredGroup> scoreFolder(const EvalOptions& options, const std::string& folder) {
    const auto byFolder = findRecordings(folder);
    if (byFolder.empty())
        fail(kCannotEvaluate, folder, "recordings with .f0 files beside them", "none");
    const std::string model = modelPath(options.model);
    checkModel(model);
    const double threshold = options.threshold ? *options.threshold : defaultThreshold(model);
    std::vector<ScoredGroup> groups;
    ScoredGroup all{"all", 0, {}};
    for (const auto& [name, paths] : byFolder) {
        ScoredGroup group{name, static_cast<int>(paths.size()), {}};
        for (const fs::path& path : paths) group.scores.add(scoreRecording(path, options, model, threshold));
        all.recordings += group.recordings;
        all.scores.add(group.scores);
        groups.push_back(std::move(group));
    }
    groups.push_back(std::move(all));
    return groups;
}

std::vector<ScoredGroup> scoreTrack(const EvalOptions& options) {
    const std::vector<float> truth = readReference(options.references[0]);
    const PitchTrack track = onGrid(readTrack(options.references[1]), truth.size());
    ScoredGroup group{options.references[1], 1, {}};
    group.scores.add(truth, rawFrames(track), options.threshold.value_or(0.0));
    return {group};
}

}  // namespace

void runEval(const EvalOptions& options) {
    if (options.threshold && !(*options.threshold >= 0.0 && std::isfinite(*options.threshold)))
        failUsage("wrong threshold", "--threshold", "a number from 0 up", shortNumber(*options.threshold));
    std::vector<OutputFile> outputs;
    for (const std::string& path : {options.csv, options.json})
        if (!path.empty()) outputs.emplace_back(path);
    const bool isFolder = fs::is_directory(options.references[0]);
    if (options.references.size() != (isFolder ? 1u : 2u))
        failUsage("wrong usage", "--ref", "one folder, or an .f0 file and a track",
                  std::to_string(options.references.size()) + " arguments, the first " +
                      (isFolder ? "a folder" : "no folder"));

    const std::vector<ScoredGroup> groups = isFolder ? scoreFolder(options, options.references[0]) : scoreTrack(options);
    std::fputs(scoreTable(groups).c_str(), stdout);
    if (!options.csv.empty()) OutputFile(options.csv).write(scoreCsv(groups));
    if (!options.json.empty()) OutputFile(options.json).write(scoreJson(groups));
}
