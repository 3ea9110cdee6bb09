// The options of `katessel eval`.
#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "apps/commands/Commands.h"
#include "tracking/FolderScores.h"

namespace katessel {

namespace {

constexpr char kAboutEval[] =
    "Scores tracks against known pitch: `.f0` files of \"seconds Hz\" every 5 ms, 0 where\n"
    "there is none and -1 where nothing is scored. Given a folder, every recording in\n"
    "and below it that has such a file beside it is tracked; given an .f0 file and a\n"
    "track (time, frequency and perhaps confidence), that track is scored.\n"
    "\n"
    "RPA: voiced frames within 50, 25 and 10 cents, whatever their confidence; RCA: the\n"
    "same in any octave. gross: of frames voiced in both, those more than 20 % off.\n"
    "F1: of precision and recall of frames voiced in both and within 50 cents. cents:\n"
    "median distance of frames voiced in both. calib.: mean distance of the confidence\n"
    "from how often such frames are voiced.";

}  // namespace

void addEvalCommand(CLI::App& app) {
    const auto owned = std::make_shared<EvalOptions>();
    EvalOptions& options = *owned;
    CLI::App* command = app.add_subcommand("eval", "Score tracks against known pitch");
    command->footer(kAboutEval);
    command->add_option("--ref", options.references, "A folder of recordings, or an .f0 file and a track")
        ->required()
        ->expected(1, 2);
    command->add_option("--tracks", options.tracks,
                        "With a folder: score the tracks under this one, FOLDER/CLIP.csv or CLIP.f0.csv for each recording, "
                        "instead of tracking");
    command->add_option("--model", options.model, "Weight file (default: the one that comes with the tool)");
    command->add_option("--threshold", options.threshold,
                        "Frames with a lower confidence count as not voiced (default: as for track)");
    addModeOption(*command, [&options](TrackMode mode) { options.mode = mode; }, "As for track");
    command->add_option("--csv", options.csv, "Write the figures as CSV, too");
    command->add_option("--json", options.json, "Write the figures as JSON, too");
    whenChosen(*command, [owned] { runEval(*owned); });
}

}  // namespace katessel
