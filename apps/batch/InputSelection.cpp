#include "apps/batch/InputSelection.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <system_error>

#include "recordings/audio/SoundFolder.h"
#include "recordings/audio/SoundSource.h"
#include "recordings/base/Errors.h"
#include "recordings/base/TextFile.h"

namespace katessel {

namespace fs = std::filesystem;

namespace {

Input broken(const std::string& path, const std::string& expected, const std::string& found) {
    return {path, "", errorMessage(kCannotRead, path, expected, found)};
}

// Adds a path of the command line or of a list; `place` is for it as a single recording.
void addPath(const std::string& path, const std::string& place, bool recursive, std::vector<Input>& inputs) {
    std::error_code error;
    if (!recursive || !fs::is_directory(path, error)) {
        inputs.push_back({path, place, ""});
        return;
    }
    const std::size_t before = inputs.size();
    const auto found = [&](const fs::path& sound) {
        inputs.push_back({sound.string(), sound.lexically_relative(path).string(), ""});
    };
    const auto unreadable = [&](const fs::path& folder, const std::string& why) {
        inputs.push_back(broken(folder.string(), "a readable folder", why));
    };
    std::vector<std::string> passedOver;
    searchSound(path, found, unreadable, [&](const fs::path& other) { passedOver.push_back(other.string()); });
    if (!passedOver.empty())
        printError(errorMessage(
            "warning: passed over", path, "recordings that libsndfile reads",
            std::to_string(passedOver.size()) + " for ffmpeg, which have to be named, the first " + passedOver[0]));
    if (inputs.size() == before) inputs.push_back(broken(path, "recordings in this folder", "none"));
}

// A name in a list keeps its folders if they lead downwards.
std::string placeOfListed(const fs::path& path) {
    const fs::path normal = path.lexically_normal();
    const bool leadsDown = path.is_relative() && *normal.begin() != "..";
    return (leadsDown ? normal : path.filename()).string();
}

void addList(const InputOptions& options, std::vector<Input>& inputs) {
    forEachLine(options.listFile, "cannot read the list", [&](std::string line, std::size_t) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (!line.empty()) addPath(line, placeOfListed(line), options.recursive, inputs);
    });
}

}  // namespace

std::vector<Input> selectInputs(const InputOptions& options) {
    std::vector<Input> inputs;
    for (const std::string& path : options.paths)
        addPath(path, fs::path(path).filename().string(), options.recursive, inputs);
    if (!options.listFile.empty()) addList(options, inputs);
    if (inputs.empty()) fail("nothing to track", options.listFile, "at least one recording", "none");
    return inputs;
}

Shard parseShard(const std::string& text) {
    Shard shard;
    const char* const end = text.data() + text.size();
    const auto [slash, indexError] = std::from_chars(text.data(), end, shard.index);
    if (indexError == std::errc() && slash != end && *slash == '/') {
        const auto [rest, countError] = std::from_chars(slash + 1, end, shard.count);
        if (countError == std::errc() && rest == end && shard.index >= 1 && shard.index <= shard.count) return shard;
    }
    failUsage("wrong shard", "--shard", "K/N with K from 1 to N", text);
}

void sortInputs(std::vector<Input>& inputs) {
    std::sort(inputs.begin(), inputs.end(), [](const Input& a, const Input& b) { return a.path < b.path; });
}

}  // namespace katessel
