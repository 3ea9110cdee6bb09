#include "recordings/scoring/FolderScores.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <utility>

#include "recordings/audio/AudioFile.h"
#include "recordings/base/Errors.h"
#include "recordings/tracks/Reference.h"

namespace katessel {

namespace fs = std::filesystem;

namespace {

// Recordings below a folder that have an .f0 file beside them, by folder.
std::map<std::string, std::vector<fs::path>> findRecordings(const fs::path& root) {
    const std::string rootName = fs::canonical(root).filename().string();
    std::map<std::string, std::vector<fs::path>> byFolder;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root)) {
        const fs::path& path = entry.path();
        fs::path truth = path;
        if (!entry.is_regular_file() || !isNamedLikeSound(path.string()) ||
            !fs::is_regular_file(truth.replace_extension(".f0")))
            continue;
        const std::string folder = path.parent_path().lexically_relative(root).string();
        byFolder[folder == "." ? rootName : folder].push_back(path);
    }
    for (auto& [folder, paths] : byFolder) std::sort(paths.begin(), paths.end());
    return byFolder;
}

Scores scoreRecording(const fs::path& path, VoicingRule rule, const TrackOf& trackOf) {
    fs::path truth = path;
    const std::vector<float> frequencies = readReference(truth.replace_extension(".f0").string());
    Scores scores;
    scores.add(frequencies, trackOf(path.string(), frequencies.size()), rule);
    return scores;
}

}  // namespace

std::vector<ScoredGroup> scoreFolder(const std::string& folder, VoicingRule rule, const TrackOf& trackOf) {
    const auto byFolder = findRecordings(folder);
    if (byFolder.empty()) fail("cannot evaluate", folder, "recordings with .f0 files beside them", "none");
    std::vector<ScoredGroup> groups;
    ScoredGroup all{"all", 0, {}};
    for (const auto& [name, paths] : byFolder) {
        ScoredGroup group{name, static_cast<int>(paths.size()), {}};
        for (const fs::path& path : paths) group.scores.add(scoreRecording(path, rule, trackOf));
        all.recordings += group.recordings;
        all.scores.add(group.scores);
        groups.push_back(std::move(group));
    }
    groups.push_back(std::move(all));
    return groups;
}

TrackOf tracksBelow(const std::string& tracks, const std::string& folder) {
    return [=](const std::string& recording, std::size_t frames) {
        fs::path track = fs::path(tracks) / fs::path(recording).lexically_relative(folder);
        fs::path ours = track;
        if (!fs::is_regular_file(ours.replace_extension(".f0.csv"))) ours = track.replace_extension(".csv");
        return onGrid(readTrack(ours.string()), frames);
    };
}

}  // namespace katessel
