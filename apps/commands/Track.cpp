#include "apps/commands/Track.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "apps/batch/Interruption.h"
#include "apps/batch/TrackPlan.h"
#include "apps/batch/TrackPool.h"
#include "apps/batch/TrackSettings.h"
#include "apps/batch/TrackWorker.h"
#include "recordings/audio/SoundSource.h"
#include "recordings/base/Errors.h"
#include "recordings/base/OutputFile.h"

namespace katessel {

namespace fs = std::filesystem;

namespace {

constexpr char kWrongUsage[] = "wrong usage";

bool isFolder(const std::string& path) {
    std::error_code error;
    return fs::is_directory(path, error);
}

// Whether the command line names one recording and not folders, neither to read nor to write.
bool isSingle(const TrackOptions& options) {
    const InputOptions& inputs = options.inputs;
    if (inputs.paths.size() != 1 || !inputs.listFile.empty() || options.shard) return false;
    if (inputs.recursive && isFolder(inputs.paths[0])) return false;
    return options.output.empty() || (options.output.back() != '/' && !isFolder(options.output));
}

ExistingTracks existingTracks(const TrackOptions& options) {
    if (options.skipExisting) return ExistingTracks::skip;
    return options.force ? ExistingTracks::replace : ExistingTracks::refuse;
}

// A file that is named says by its extension what it is.
const TrackFormat& defaultFormat(const TrackOptions& options) {
    return isSingle(options) ? trackFormatOfFile(options.output) : trackFormats().front();
}

std::vector<TrackJob> planRun(const TrackOptions& options, const TrackFormat& format) {
    if (options.output == kStandardStream)
        failUsage(kWrongUsage, "-o -", "one recording", "a run of several");
    std::vector<Input> inputs = selectInputs(options.inputs);
    const Shard shard = options.shard ? parseShard(*options.shard) : Shard{};
    if (options.shard) sortInputs(inputs);
    std::vector<TrackJob> jobs = planMany(inputs, options.output, std::string(".f0") + format.extension);
    if (options.shard) jobs = shardOf(jobs, shard);
    checkExisting(jobs, existingTracks(options));
    return jobs;
}

void trackSingle(const TrackOptions& options, TrackSettings& settings) {
    const TrackJob job = planSingle(options.inputs.paths[0], options.output, options.skipExisting);
    if (job.isDone) return;
    if (settings.format->isBinary && OutputFile(job.output).isTerminal())
        failUsage("cannot write", "standard output", std::string("a file or a pipe for ") + settings.format->name,
                  "a terminal");
    chooseModel(options, settings);
    TrackWorker(settings).run(job);
}

void trackMany(const TrackOptions& options, TrackSettings& settings) {
    const std::vector<TrackJob> jobs = planRun(options, *settings.format);
    chooseModel(options, settings);
    const int processors = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    const std::size_t failures = runJobs(jobs, settings, options.threads.value_or(processors), !options.quiet);
    if (failures > 0)
        fail("not everything is tracked", std::to_string(jobs.size()) + " recordings", "a track of each",
             std::to_string(failures) + " without");
}

// What is left to do when somebody ends the process.
void leaveNothingBehind() {
    OutputFile::abandonAll();
    // Below what may stand on the terminal.
    if (::isatty(STDERR_FILENO) != 0 && ::write(STDERR_FILENO, "\n", 1) < 0) return;
}

}  // namespace

void runTrack(const TrackOptions& options) {
    // Everything that can be wrong, before the long part.
    if (options.inputs.paths.empty() && options.inputs.listFile.empty())
        failUsage(kWrongUsage, "track", "a FILE or --files-from", "neither");
    TrackSettings settings = chooseSettings(options, defaultFormat(options));
    endOnSignals(&leaveNothingBehind);
    if (isSingle(options))
        trackSingle(options, settings);
    else
        trackMany(options, settings);
}

}  // namespace katessel
