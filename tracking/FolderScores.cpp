#include "tracking/FolderScores.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <map>
#include <set>
#include <utility>

#include "recordings/audio/AudioFile.h"
#include "recordings/base/Errors.h"
#include "recordings/base/OutputFile.h"
#include "recordings/scoring/ScoreReport.h"
#include "recordings/tracks/Reference.h"
#include "tracking/ModelCard.h"
#include "tracking/ModelCheck.h"
#include "tracking/ModelPath.h"
#include "tracking/OfflineTrack.h"
#include "tracking/StreamTrack.h"

namespace katessel {

namespace fs = std::filesystem;

namespace {

constexpr char kCannotEvaluate[] = "cannot evaluate";

// What may lie beside an .f0 file and is no recording.
const std::set<std::string> kNoSound = {".f0", ".csv", ".tsv", ".json", ".txt", ".md", ".png", ".svg"};

// Recordings below a folder that have an .f0 file beside them, by folder.
std::map<std::string, std::vector<fs::path>> findRecordings(const fs::path& root) {
    const std::string rootName = fs::canonical(root).filename().string();
    std::map<std::string, std::vector<fs::path>> byFolder;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root)) {
        const fs::path& path = entry.path();
        if (!entry.is_regular_file() || kNoSound.count(path.extension().string()) != 0) continue;
        fs::path truth = path;
        if (!fs::is_regular_file(truth.replace_extension(".f0"))) continue;
        const std::string folder = path.parent_path().lexically_relative(root).string();
        byFolder[folder == "." ? rootName : folder].push_back(path);
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

// Somebody's track of a recording: under `tracks`, with the recording's path below `root` and the extension .csv, or
// .f0.csv as `katessel track` names it.
PitchTrack foreignTrack(const fs::path& path, const fs::path& root, const fs::path& tracks, std::size_t frames) {
    fs::path track = tracks / path.lexically_relative(root);
    fs::path ours = track;
    if (fs::is_regular_file(ours.replace_extension(".f0.csv"))) return onGrid(readTrack(ours.string()), frames);
    return onGrid(readTrack(track.replace_extension(".csv").string()), frames);
}

Scores scoreRecording(const fs::path& path, const EvalOptions& options, const std::string& model, double threshold) {
    fs::path truth = path;
    const std::vector<float> frequencies = readReference(truth.replace_extension(".f0").string());
    PitchTrack track;
    if (!options.tracks.empty()) {
        track = foreignTrack(path, options.references[0], options.tracks, frequencies.size());
    } else {
        Recording recording = readRecording(path.string());
        track = options.mode == TrackMode::live ? streamTrack(recording, path.string(), model)
                                                : offlineTrack(std::move(recording), path.string(), model);
    }
    Scores scores;
    scores.add(frequencies, rawFrames(track), threshold);
    return scores;
}

std::vector<ScoredGroup> scoreTrack(const EvalOptions& options) {
    const std::vector<float> truth = readReference(options.references[0]);
    const PitchTrack track = onGrid(readTrack(options.references[1]), truth.size());
    ScoredGroup group{options.references[1], 1, {}};
    group.scores.add(truth, rawFrames(track), options.threshold.value_or(0.0));
    return {group};
}

}  // namespace

std::vector<ScoredGroup> scoreFolder(const EvalOptions& options) {
    const std::string& folder = options.references[0];
    const auto byFolder = findRecordings(folder);
    if (byFolder.empty())
        fail(kCannotEvaluate, folder, "recordings with .f0 files beside them", "none");
    std::string model;
    double threshold = options.threshold.value_or(0.0);
    if (options.tracks.empty()) {
        model = modelPath(options.model);
        checkModel(model);
        if (!options.threshold) threshold = defaultThreshold(model);
    }
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

void runEval(const EvalOptions& options) {
    if (options.threshold && !(*options.threshold >= 0.0 && std::isfinite(*options.threshold)))
        failUsage("wrong threshold", "--threshold", "a number from 0 up", shortNumber(*options.threshold));
    for (const std::string& path : {options.csv, options.json}) {
        const OutputFile output(path);
        for (const std::string& input : options.references)
            if (output.isSameAs(input)) failUsage("cannot write", path, "a file of its own", "one that is read");
    }
    if (!options.csv.empty() && options.csv == options.json)
        failUsage("cannot write", options.csv, "one file each for --csv and --json", "the same for both");
    if (!fs::exists(options.references[0]))
        fail(kCannotEvaluate, options.references[0], "a folder or an .f0 file", "nothing there");
    const bool isFolder = fs::is_directory(options.references[0]);
    if (options.references.size() != (isFolder ? 1u : 2u))
        failUsage("wrong usage", "--ref", "one folder, or an .f0 file and a track",
                  std::to_string(options.references.size()) + " arguments, the first " +
                      (isFolder ? "a folder" : "no folder"));

    const std::vector<ScoredGroup> groups = isFolder ? scoreFolder(options) : scoreTrack(options);
    std::fputs(scoreTable(groups).c_str(), stdout);
    if (!options.csv.empty()) OutputFile(options.csv).write(scoreCsv(groups));
    if (!options.json.empty()) OutputFile(options.json).write(scoreJson(groups));
}

}  // namespace katessel
