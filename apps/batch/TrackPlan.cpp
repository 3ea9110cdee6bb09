#include "apps/batch/TrackPlan.h"

#include <filesystem>
#include <map>
#include <system_error>

#include "recordings/audio/SoundSource.h"
#include "recordings/base/Errors.h"
#include "recordings/base/OutputFile.h"

namespace katessel {

namespace fs = std::filesystem;

namespace {

void checkFolder(const std::string& folder) {
    std::error_code error;
    if (fs::exists(folder, error) && !fs::is_directory(folder, error)) fail(kCannotWrite, folder, "a folder", "a file");
}

std::string outputOf(const Input& input, const std::string& folder, const std::string& ending) {
    fs::path output = folder.empty() ? fs::path(input.path) : fs::path(folder) / input.place;
    return output.replace_extension(ending).string();
}

bool isThere(const std::string& path) {
    std::error_code error;
    return path != kStandardStream && fs::is_regular_file(path, error) && fs::file_size(path, error) > 0;
}

void checkDistinct(const std::vector<TrackJob>& jobs, ReadFiles& read) {
    std::map<std::string, std::string> recordings;  // by the place of their track
    for (const TrackJob& job : jobs) read.add(job.input);
    for (const TrackJob& job : jobs) {
        if (!job.problem.empty()) continue;
        if (read.holds(job.output)) failUsage(kCannotWrite, job.output, "a file of its own", "one that is read");
        const auto [other, isNew] = recordings.emplace(placeOf(job.output), job.input);
        if (!isNew)
            failUsage(kCannotWrite, job.output, "the track of one recording", other->second + " and " + job.input);
    }
}

}  // namespace

TrackJob planSingle(const std::string& input, const std::string& output, ReadFiles read) {
    read.add(input);
    TrackJob job{input, output.empty() ? kStandardStream : output, "", false};
    checkOutputs({job.output}, read);
    return job;
}

std::vector<TrackJob> planMany(const std::vector<Input>& inputs, const std::string& folder, const std::string& ending,
                               ReadFiles read) {
    checkFolder(folder);
    std::vector<TrackJob> jobs;
    for (const Input& input : inputs) {
        if (input.path == kStandardStream)
            failUsage("wrong usage", input.path, "standard input as the only recording, and -o with a file",
                      "a run of files");
        jobs.push_back({input.path, outputOf(input, folder, ending), input.problem, false});
    }
    checkDistinct(jobs, read);
    return jobs;
}

std::vector<TrackJob> shardOf(const std::vector<TrackJob>& jobs, const Shard& shard) {
    std::vector<TrackJob> own;
    for (std::size_t i = shard.index - 1; i < jobs.size(); i += shard.count) own.push_back(jobs[i]);
    return own;
}

std::string checkExisting(std::vector<TrackJob>& jobs, ExistingTracks existing) {
    if (existing == ExistingTracks::replace) return "";
    std::vector<std::string> there;
    for (TrackJob& job : jobs) {
        if (!job.problem.empty() || !isThere(job.output)) continue;
        job.isDone = true;
        there.push_back(job.output);
    }
    if (there.empty() || existing == ExistingTracks::skip) return "";
    const std::string others = there.size() == 1 ? ""
                                                 : ", as for " + std::to_string(there.size() - 1) + " more of " +
                                                       std::to_string(jobs.size()) + " recordings";
    return errorMessage(kCannotWrite, there[0], "no such file yet, or --skip-existing or --force", "one" + others);
}

}  // namespace katessel
