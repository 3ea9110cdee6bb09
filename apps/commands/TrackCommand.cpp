// The options of `katessel track`.
#include <CLI/CLI.hpp>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "apps/commands/Commands.h"
#include "apps/commands/Track.h"
#include "apps/formats/TrackFormat.h"

namespace katessel {

namespace {

constexpr char kAboutTrack[] =
    "Writes the pitch of recordings, as CSV unless another format is chosen:\n"
    "time,frequency,confidence.\n"
    "\n"
    "`time` [s] is an instant of the recording itself, with all latency taken out: row\n"
    "i says what is heard at i * 5 ms, the centre of what was analysed for it. There\n"
    "is a row for every such instant from 0 on that lies before the recording's end.\n"
    "`frequency` [Hz] is 0 where the recording is not voiced; `confidence` is about\n"
    "the probability that it is. Several channels are averaged.\n"
    "\n"
    "The track of one recording goes to standard output or to the file that -o names.\n"
    "Those of several, of folders or of a list go to files of their own, SONG.f0.csv\n"
    "for SONG.wav, beside the recordings or in the folder that -o names, with the\n"
    "sub-folders of folders and of lists. An interrupted run goes on with\n"
    "--skip-existing.";

CLI::Validator fromOne() { return CLI::Range(1, std::numeric_limits<int>::max()).description("POSITIVE"); }

std::vector<std::string> formatNames() {
    std::vector<std::string> names;
    for (const TrackFormat& format : trackFormats()) names.push_back(format.name);
    return names;
}

void addInputOptions(CLI::App& command, TrackOptions& options) {
    command.add_option("FILE", options.inputs.paths,
                       "Recordings, in any format that libsndfile reads, or folders of them; -: standard input");
    command.add_option("--files-from", options.inputs.listFile,
                       "Read more FILEs from this file, one a line; -: from standard input");
    command.add_flag("-r,--recursive", options.inputs.recursive, "Look for recordings in folders and their sub-folders");
    command.add_option("--shard", options.shard, "K/N: only every N-th recording by name, starting with the K-th");
    command.add_option("--raw", options.raw,
                       "The sound has no header but this form: f32:RATE or s16:RATE, little-endian, perhaps with "
                       ":CHANNELS");
    command.add_option("--channel", options.channel, "Take this channel, from 1 on (default: the average)")
        ->check(fromOne());
    command.add_option("--start", options.start, "Begin at this instant of the recording [s]");
    command.add_option("--duration", options.duration, "End after this time [s]");
}

void addOutputOptions(CLI::App& command, TrackOptions& options) {
    command.add_option("-o,--output", options.output,
                       "A file for the track of one recording, a folder for those of several");
    CLI::Option* skip = command.add_flag("--skip-existing", options.skipExisting, "Leave out what has a track already");
    command.add_flag("--force", options.force, "Replace tracks that are there already")->excludes(skip);
    command
        .add_option("--format", options.format,
                    "What to write (default: csv, or what the extension of -o says): rows as csv, tsv, json or npy; "
                    "voiced rows as a Praat pitchtier; voiced and unvoiced segments as lab; notes as midi")
        ->check(CLI::IsMember(formatNames()));
    CLI::Option* unit = command.add_option("--unit", options.unit,
                                           "Pitch in hz (default), cents above 440 Hz or midi note numbers")
                            ->check(CLI::IsMember(std::vector<std::string>{"hz", "cents", "midi"}));
    command.add_flag("--cents", options.cents, "Short for --unit cents")->excludes(unit);
    command
        .add_option("--unvoiced", options.unvoiced,
                    "Pitch of rows that are not voiced: zero (default in Hz) or nan; or drop them")
        ->check(CLI::IsMember(std::vector<std::string>{"zero", "nan", "drop"}));
}

void addAnalysisOptions(CLI::App& command, TrackOptions& options) {
    command.add_option("--model", options.model, "Weight file (default: the one that comes with the tool)");
    command.add_option("--threshold", options.threshold,
                       "Rows with a lower confidence count as not voiced (default: the model's own, else 0.5)");
    command.add_option("--fmin", options.lowest, "Rows with a lower pitch count as not voiced [Hz]");
    command.add_option("--fmax", options.highest, "Rows with a higher pitch count as not voiced [Hz]");
    addModeOption(command, [&options](TrackMode mode) { options.mode = mode; },
                  "offline: the whole recording at once, every instant seen from both sides (default); "
                  "live: as a host streams it");
    command
        .add_option("--block-size", options.blockSize,
                    "This many samples a call, as a host would: of each call only the last frame is seen "
                    "(implies --mode live)")
        ->check(fromOne());
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
    command->add_flag("-q,--quiet", options.quiet, "No progress on the terminal");
    whenChosen(*command, [owned] { runTrack(*owned); });
}

}  // namespace katessel
