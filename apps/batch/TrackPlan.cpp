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

constexpr char kCannotWrite[] = "cannot write";

void checkFolder(const std::string& folder) {
    std::error_code error;
    if (fs::exists(folder, error) && !fs::is_directory(folder, error)) fail(kCannotWrite, folder, "a folder", "a file");
}

std::string outputOf(const Input& input, const std::string& folder, const std::string& ending) {
    fs::path output = folder.empty() ? fs::path(input.path) : fs::path(folder) / input.place;
    return output.replace_extension(ending).string();
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

TrackJob planSingle(const std::string& input, const std::string& output, bool skipExisting, ReadFiles read) {
    TrackJob job{input, output.empty() ? kStandardStream : output, "", false};
    std::error_code error;
    job.isDone = skipExisting && job.output != kStandardStream && fs::exists(job.output, error);
    if (job.isDone) return job;
    read.add(input);
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

void checkExisting(std::vector<TrackJob>& jobs, ExistingTracks existing) {
    if (existing == ExistingTracks::replace) return;
    for (TrackJob& job : jobs) {
        std::error_code error;
        if (!job.problem.empty() || !fs::exists(job.output, error)) continue;
        if (existing == ExistingTracks::skip)
            job.isDone = true;
        else
            job.problem =
                errorMessage(kCannotWrite, job.output, "no such file yet, or --skip-existing or --force", "one");
    }
}

}  // namespace katessel
