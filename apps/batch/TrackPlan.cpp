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

// Canonical names of files that need not exist yet; looks every folder up once.
class CanonicalNames {
public:
    std::string of(const fs::path& path) {
        const auto [known, isNew] = m_folders.try_emplace(path.parent_path().string());
        if (isNew) {
            std::error_code error;
            known->second = fs::weakly_canonical(fs::absolute(path, error).parent_path(), error);
        }
        return (known->second / path.filename()).string();
    }

private:
    std::map<std::string, fs::path> m_folders;
};

void checkFolder(const std::string& folder) {
    std::error_code error;
    if (fs::exists(folder, error) && !fs::is_directory(folder, error)) fail(kCannotWrite, folder, "a folder", "a file");
}

std::string outputOf(const Input& input, const std::string& folder, const std::string& ending) {
    fs::path output = folder.empty() ? fs::path(input.path) : fs::path(folder) / input.place;
    return output.replace_extension(ending).string();
}

void checkDistinct(const std::vector<TrackJob>& jobs) {
    CanonicalNames names;
    std::map<std::string, std::string> inputs, outputs;
    for (const TrackJob& job : jobs)
        if (job.problem.empty()) inputs.emplace(names.of(job.input), job.input);
    for (const TrackJob& job : jobs) {
        if (!job.problem.empty()) continue;
        const std::string name = names.of(job.output);
        const auto recording = inputs.find(name);
        if (recording != inputs.end())
            failUsage(kCannotWrite, job.output, "a file of its own", "one of the recordings");
        const auto [other, isNew] = outputs.emplace(name, job.input);
        if (!isNew)
            failUsage(kCannotWrite, job.output, "the track of one recording", other->second + " and " + job.input);
    }
}

}  // namespace

TrackJob planSingle(const std::string& input, const std::string& output, bool skipExisting) {
    TrackJob job{input, output.empty() ? kStandardStream : output, "", false};
    std::error_code error;
    job.isDone = skipExisting && job.output != kStandardStream && fs::exists(job.output, error);
    if (!job.isDone && OutputFile(job.output).isSameAs(input))
        failUsage(kCannotWrite, output, "a file of its own", "the recording itself");
    return job;
}

std::vector<TrackJob> planMany(const std::vector<Input>& inputs, const std::string& folder, const std::string& ending) {
    checkFolder(folder);
    std::vector<TrackJob> jobs;
    for (const Input& input : inputs) {
        if (input.path == kStandardStream)
            failUsage("wrong usage", input.path, "standard input as the only recording, and -o with a file",
                      "a run of files");
        jobs.push_back({input.path, outputOf(input, folder, ending), input.problem, false});
    }
    checkDistinct(jobs);
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
