// `katessel track`: the pitch of recordings.
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "apps/batch/Interruption.h"
#include "apps/batch/TrackOptions.h"
#include "apps/batch/TrackPlan.h"
#include "apps/batch/TrackPool.h"
#include "apps/batch/TrackSettings.h"
#include "apps/commands/Commands.h"
#include "apps/formats/TrackFormat.h"
#include "recordings/audio/SoundSource.h"
#include "recordings/base/Errors.h"
#include "recordings/base/OutputFile.h"

namespace katessel {

namespace fs = std::filesystem;

namespace {

constexpr char kAboutTrack[] =
    "Writes the pitch of recordings, as CSV unless another format is chosen:\n"
    "time,frequency,confidence.\n"
    "\n"
    "`time` [s] is an instant of the recording itself, with all latency taken out: row\n"
    "i says what is heard at i * 5 ms, the centre of what was analysed for it. There\n"
    "is a row for every such instant from 0 on that lies before the recording's end.\n"
    "`frequency` [Hz] is 0 where the recording is not voiced; `confidence` is about\n"
    "the probability that it is, and that the frequency is right. Several channels\n"
    "are averaged.\n"
    "\n"
    "The track of one recording goes to standard output or to the file that -o names.\n"
    "Those of several, of folders or of a list go to files of their own, SONG.f0.csv\n"
    "for SONG.wav, beside the recordings or in the folder that -o names, with the\n"
    "sub-folders of folders and of lists. An interrupted run goes on with\n"
    "--skip-existing.";

CLI::Validator fromOne() { return CLI::Range(1, std::numeric_limits<int>::max()).description("POSITIVE"); }

// Turns whatever a format is called into its name.
CLI::Validator formatName() {
    const auto find = [](std::string& text) -> std::string {
        const TrackFormat* format = findTrackFormat(text);
        if (format == nullptr) return "expected one of " + trackFormatNames() + ", found " + text;
        text = format->name;
        return "";
    };
    return CLI::Validator(find, "{" + trackFormatNames() + "}");
}

void addInputOptions(CLI::App& command, TrackOptions& options) {
    command.add_option(
        "FILE", options.inputs.paths,
        "Recordings, in any format that libsndfile reads, or that ffmpeg does where it is installed, or folders of "
        "them; -: standard input");
    command
        .add_option("--files-from", options.inputs.listFile,
                    "Read more FILEs from this file, one a line; -: from standard input")
        ->type_name("FILE");
    command.add_flag("-r,--recursive", options.inputs.recursive,
                     "Look for recordings in folders and their sub-folders");
    command.add_option("--shard", options.shard, "K/N: only every N-th recording by name, starting with the K-th");
    command.add_option(
        "--raw", options.raw,
        "The sound has no header but this form: KIND:RATE or KIND:RATE:CHANNELS, little-endian; kinds: f32, f64, "
        "s16, s24, s32");
    command.add_flag("--allow-damaged", options.allowDamaged,
                     "Track what there is of a recording that is cut off, with a warning; one with a hole is refused "
                     "all the same");
    command.add_option("--channel", options.channel, "Take this channel, from 1 on (default: the average)")
        ->check(fromOne());
    addExcerptOptions(command, options.excerpt);
}

void addOutputOptions(CLI::App& command, TrackOptions& options) {
    command
        .add_option("-o,--output", options.output,
                    "A file for the track of one recording, a folder for those of several")
        ->type_name("FILE");
    CLI::Option* skip = command.add_flag("--skip-existing", options.skipExisting,
                                         "Leave out what has a track already (an empty file is none)");
    command.add_flag("--force", options.force, "Replace tracks that are there already")->excludes(skip);
    command
        .add_option(
            "--format", options.format,
            "What to write (default: csv, or what the extension of -o says): rows as csv, tsv, json, jsonl or npy; "
            "a Praat pitchtier, textgrid or pitch; voiced and unvoiced segments as lab; notes as midi; known "
            "pitch as f0")
        ->transform(formatName());
    CLI::Option* unit =
        command.add_option("--unit", options.unit, "Pitch in hz (default), cents above 440 Hz or midi note numbers")
            ->check(CLI::IsMember(std::vector<std::string>{"hz", "cents", "midi"}));
    command.add_flag("--cents", options.cents, "Short for --unit cents")->excludes(unit);
    command
        .add_option("--unvoiced", options.unvoiced,
                    "Pitch of rows that are not voiced: zero (default in Hz) or nan; or drop them")
        ->check(CLI::IsMember(std::vector<std::string>{"zero", "nan", "drop"}));
    command.add_flag("--loudness", options.loudness,
                     "A column more in formats with rows: the root mean square of the 40 ms around the instant [dB of "
                     "full scale]");
    command.add_option("--tempo", options.tempo, "Beats a minute of a midi file (default: 120)")
        ->check(numberBetween(4.0, 1000.0));
    command.add_flag("--pitch-bend", options.pitchBend, "Bend the notes of a midi file as the pitch moves");
}

void addAnalysisOptions(CLI::App& command, TrackOptions& options) {
    addModelOption(command, options.model);
    addThresholdOption(command, options.threshold, "a row counts as voiced (default: the model's own, else 0.5)");
    addVoicingOption(
        command, options.voicing,
        "hysteresis: begin a little above the threshold, end a little below (default live); smooth: the same "
        "on the median of three rows, which waits for 5 ms more (default offline); frame: each row by itself");
    command.add_option("--fmin", options.lowest, "Rows with a lower pitch count as not voiced [Hz]")
        ->check(numberBetween(0.0, kMostHertz));
    command.add_option("--fmax", options.highest, "Rows with a higher pitch count as not voiced [Hz]")
        ->check(numberBetween(0.0, kMostHertz));
    addModeOption(
        command, [&options](TrackMode mode) { options.mode = mode; },
        "offline: the whole recording at once, every instant seen from both sides (default); "
        "live: as a host streams it");
    command
        .add_option("--block-size", options.blockSize,
                    "This many samples a call, as a host would: of each call only the last frame is seen "
                    "(implies --mode live)")
        ->check(fromOne());
}

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
    return options.format || !isSingle(options) ? trackFormats().front() : trackFormatOfFile(options.output);
}

// What is read beside the recordings.
ReadFiles filesRead(const TrackOptions& options, const TrackSettings& settings) {
    ReadFiles read;
    read.add(options.inputs.listFile);
    addModel(read, settings.model.path);
    return read;
}

std::vector<TrackJob> planRun(const TrackOptions& options, const TrackSettings& settings) {
    if (isSingle(options)) return {planSingle(options.inputs.paths[0], options.output, filesRead(options, settings))};
    if (options.output == kStandardStream) failUsage(kWrongUsage, "-o -", "one recording", "a run of several");
    if (isNamedLikeTrack(options.output) && !isFolder(options.output))
        failUsage(kWrongUsage, "-o " + options.output, "a folder for the tracks of several recordings",
                  "the name of one track");
    std::vector<Input> inputs = selectInputs(options.inputs);
    const Shard shard = options.shard ? parseShard(*options.shard) : Shard{};
    if (options.shard) sortInputs(inputs);
    const std::string extension = settings.format->extension;
    std::vector<TrackJob> jobs = planMany(inputs, options.output, extension == ".f0" ? extension : ".f0" + extension,
                                          filesRead(options, settings));
    return options.shard ? shardOf(jobs, shard) : jobs;
}

void trackSingle(const TrackJob& job, const TrackOptions& options, const TrackSettings& settings) {
    if (job.isDone) return;
    const bool onTerminal = job.output == kStandardStream && OutputFile(job.output).isTerminal();
    if (settings.format->isBinary && onTerminal)
        failUsage(kCannotWrite, "standard output", std::string("a file or a pipe for ") + settings.format->name,
                  "a terminal");
    runJob(job, settings, !options.quiet && !onTerminal);  // rows on the terminal show how far it is
}

void trackMany(const std::vector<TrackJob>& jobs, const TrackOptions& options, const TrackSettings& settings) {
    const int processors = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    const std::size_t failures = runJobs(jobs, settings, options.threads.value_or(processors), !options.quiet);
    if (failures > 0)
        fail("not everything is tracked", std::to_string(jobs.size()) + " recordings", "a track of each",
             std::to_string(failures) + " without");
}

// What is left to do when somebody ends the process.
void leaveNothingBehind() {
    OutputFile::abandonAll();
    // A line break after the progress line.
    if (::isatty(STDERR_FILENO) != 0 && ::write(STDERR_FILENO, "\n", 1) < 0) return;
}

void runTrack(const TrackOptions& options) {
    // Everything that can be wrong, before the long part.
    if (options.inputs.paths.empty() && options.inputs.listFile.empty())
        failUsage(kWrongUsage, "track", "a FILE or --files-from", "neither");
    TrackSettings settings = chooseSettings(options, defaultFormat(options));
    completeSettings(options, settings);
    endOnSignals(&leaveNothingBehind);
    std::vector<TrackJob> jobs = planRun(options, settings);
    const std::string inTheWay = checkExisting(jobs, existingTracks(options));
    if (isSingle(options))
        trackSingle(jobs[0], options, settings);
    else
        trackMany(jobs, options, settings);
    if (!inTheWay.empty()) throw ToolError(inTheWay, kStatusFailure);
}

}  // namespace

void addTrackCommand(CLI::App& app) {
    const auto owned = std::make_shared<TrackOptions>();
    TrackOptions& options = *owned;
    CLI::App* command = app.add_subcommand("track", "Write the pitch of recordings");
    command->footer(kAboutTrack);
    addInputOptions(*command, options);
    addOutputOptions(*command, options);
    addAnalysisOptions(*command, options);
    command->add_option("-j,--jobs", options.threads, "Recordings at a time (default: one for each processor)")
        ->check(CLI::Range(1, 1024));
    addQuietOption(*command, options.quiet);
    whenChosen(*command, [owned] { runTrack(*owned); });
}

}  // namespace katessel
