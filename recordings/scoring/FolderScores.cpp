#include "recordings/scoring/FolderScores.h"

#include <filesystem>
#include <map>
#include <utility>

#include "recordings/audio/SoundFolder.h"
#include "recordings/base/Errors.h"
#include "recordings/tracks/Reference.h"
#include "recordings/tracks/TrackReader.h"

namespace katessel {

namespace fs = std::filesystem;

namespace {

fs::path truthOf(fs::path recording) { return recording.replace_extension(".f0"); }

// Recordings below a folder that have an .f0 file beside them, by folder.
std::map<std::string, std::vector<fs::path>> findRecordings(const fs::path& root, const OnProblem& onProblem) {
    const std::string rootName = fs::canonical(root).filename().string();
    std::map<std::string, std::vector<fs::path>> byFolder;
    const auto found = [&](const fs::path& path) {
        if (!fs::is_regular_file(path) || !fs::is_regular_file(truthOf(path))) return;
        const std::string folder = path.parent_path().lexically_relative(root).string();
        byFolder[folder == "." ? rootName : folder].push_back(path);
    };
    const auto unreadable = [&](const fs::path& folder, const std::string& why) {
        onProblem(errorMessage("cannot evaluate", folder.string(), "a readable folder", why));
    };
    searchSound(root, found, unreadable);
    return byFolder;
}

fs::path trackOf(const std::string& tracks, const std::string& folder, const fs::path& recording) {
    const fs::path place = fs::path(tracks) / recording.lexically_relative(folder);
    for (const char* extension : kReadableTracks) {
        fs::path track = place;
        if (fs::is_regular_file(track.replace_extension(std::string(".f0") + extension))) return track;
    }
    return fs::path(place).replace_extension(".csv");
}

Scores scoreRecording(const fs::path& path, VoicingRule rule, const TrackOf& trackOf) {
    const std::vector<float> frequencies = readReference(truthOf(path).string());
    Scores scores;
    scores.add(frequencies, trackOf(path.string(), frequencies.size()), rule);
    return scores;
}

}  // namespace

std::vector<ScoredGroup> scoreFolder(const std::string& folder, VoicingRule rule, const TrackOf& trackOf,
                                     const OnProblem& onProblem) {
    const auto byFolder = findRecordings(folder, onProblem);
    if (byFolder.empty()) fail("cannot evaluate", folder, "recordings with .f0 files beside them", "none");
    std::vector<ScoredGroup> groups;
    ScoredGroup all{"all", 0, {}};
    for (const auto& [name, paths] : byFolder) {
        ScoredGroup group{name, 0, {}};
        for (const fs::path& path : paths) {
            try {
                group.scores.add(scoreRecording(path, rule, trackOf));
                ++group.recordings;
            } catch (const ToolError& error) {
                onProblem(error.what());
            }
        }
        if (group.recordings == 0) continue;
        all.recordings += group.recordings;
        all.scores.add(group.scores);
        groups.push_back(std::move(group));
    }
    if (all.recordings > 0) groups.push_back(std::move(all));
    return groups;
}

TrackOf tracksBelow(const std::string& tracks, const std::string& folder) {
    return [=](const std::string& recording, std::size_t frames) {
        return onGrid(readTrack(trackOf(tracks, folder, recording).string()), frames);
    };
}

void addScored(ReadFiles& read, const std::string& folder, const std::string& tracks) {
    const auto found = [&](const fs::path& path) {
        read.add(path.string());
        read.add(truthOf(path).string());
        if (!tracks.empty()) read.add(trackOf(tracks, folder, path).string());
    };
    searchSound(folder, found, [](const fs::path&, const std::string&) {});
}

}  // namespace katessel
