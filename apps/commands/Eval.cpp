// `katessel eval`: how well tracks agree with recordings of known pitch.
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/commands/Commands.h"
#include "recordings/base/Errors.h"
#include "recordings/base/OutputFile.h"
#include "recordings/scoring/FolderScores.h"
#include "recordings/tracks/Reference.h"
#include "recordings/tracks/TrackReader.h"
#include "tracking/Model.h"
#include "tracking/RecordingTracker.h"

namespace katessel {

namespace fs = std::filesystem;

namespace {

constexpr char kAboutEval[] =
    "Scores tracks against known pitch: `.f0` files of \"seconds Hz\" every 5 ms, 0 where\n"
    "there is none and -1 where nothing is scored. Given a folder, every recording in\n"
    "and below it that has such a file beside it is tracked; given an .f0 file and a\n"
    "track, in any format that track writes but lab and TextGrid, that one is scored.\n"
    "\n"
    "RPA: voiced frames within 50, 25 and 10 cents, whatever their confidence; RCA: the\n"
    "same in any octave. gross: of frames voiced in both, those more than 20 % off.\n"
    "F1: of precision and recall of frames voiced in both and within 50 cents. cents:\n"
    "median distance of frames voiced in both. calib.: mean distance of the confidence\n"
    "from how often such frames are voiced.";

struct EvalOptions {
    std::vector<std::string> references;  // one folder of recordings, or an .f0 file and a track
    std::string tracks;                   // folder of tracks to score instead of tracking; empty: none
    std::string model;                    // empty: the default model
    std::optional<double> threshold;      // none: the model's own; for a track, 0: what it calls voiced
    TrackMode mode = TrackMode::offline;
    std::optional<Voicing> voicing;  // none: the mode's usual one
    std::string csv, json;           // files for the same figures; empty: none
};

// Everything that can be wrong, before the long part. Returns whether a folder is to be scored.
bool checkOptions(const EvalOptions& options) {
    if (!fs::exists(options.references[0]))
        fail("cannot evaluate", options.references[0], "a folder or an .f0 file", "nothing there");
    const bool isFolder = fs::is_directory(options.references[0]);
    if (options.references.size() != (isFolder ? 1u : 2u))
        failUsage("wrong usage", "--ref", "one folder, or an .f0 file and a track",
                  std::to_string(options.references.size()) + " arguments, the first " +
                      (isFolder ? "a folder" : "no folder"));
    return isFolder;
}

void checkWritten(const EvalOptions& options, ReadFiles read, bool isFolder) {
    for (const std::string& input : options.references) read.add(input);
    if (isFolder) addScored(read, options.references[0], options.tracks);
    checkOutputs({options.csv, options.json}, read);
}

std::vector<ScoredGroup> scoreRecordings(const EvalOptions& options, const OnProblem& onProblem) {
    const std::string& folder = options.references[0];
    ReadFiles read;
    if (!options.tracks.empty()) {
        checkWritten(options, read, true);
        return scoreFolder(folder, options.threshold.value_or(0.0), tracksBelow(options.tracks, folder), onProblem);
    }
    const Model model = chooseModel(options.model, options.mode, options.threshold);
    addModel(read, model.path);
    checkWritten(options, read, true);
    RecordingTracker tracker(model.path, options.mode);
    const VoicingRule rule(model.threshold, options.voicing.value_or(usualVoicing(options.mode)));
    const auto track = [&](const std::string& recording, std::size_t) {
        return tracker.track(readRecording(recording), recording);
    };
    return scoreFolder(folder, rule, track, onProblem);
}

std::vector<ScoredGroup> scoreTrack(const EvalOptions& options) {
    checkWritten(options, {}, false);
    const std::vector<float> truth = readReference(options.references[0]);
    ScoredGroup group{options.references[1], 1, {}};
    group.scores.add(truth, onGrid(readTrack(options.references[1]), truth.size()), options.threshold.value_or(0.0));
    return {group};
}

void runEval(const EvalOptions& options) {
    std::size_t problems = 0;
    const auto onProblem = [&](const std::string& message) {
        printError(message);
        ++problems;
    };
    const std::vector<ScoredGroup> groups =
        checkOptions(options) ? scoreRecordings(options, onProblem) : scoreTrack(options);
    if (!groups.empty()) {
        std::fputs(scoreTable(groups).c_str(), stdout);
        if (!options.csv.empty()) OutputFile(options.csv).write(scoreCsv(groups));
        if (!options.json.empty()) OutputFile(options.json).write(scoreJson(groups));
    }
    if (problems > 0)
        fail("not everything is scored", options.references[0], "figures without these", std::to_string(problems));
}

}  // namespace

void addEvalCommand(CLI::App& app) {
    const auto owned = std::make_shared<EvalOptions>();
    EvalOptions& options = *owned;
    CLI::App* command = app.add_subcommand("eval", "Score tracks against known pitch");
    command->footer(kAboutEval);
    command->add_option("--ref", options.references, "A folder of recordings, or an .f0 file and a track")
        ->type_name("FILE")
        ->required()
        ->expected(1, 2);
    command
        ->add_option("--tracks", options.tracks,
                     "With a folder: score the tracks under this one, CLIP.f0.csv (or .json, .npy, ..) or CLIP.csv for "
                     "each recording, "
                     "instead of tracking")
        ->type_name("FILE");
    addModelOption(*command, options.model);
    addThresholdOption(*command, options.threshold);
    addModeOption(
        *command, [&options](TrackMode mode) { options.mode = mode; }, "As for track");
    addVoicingOption(*command, options.voicing);
    command->add_option("--csv", options.csv, "Write the figures as CSV, too")->type_name("FILE");
    command->add_option("--json", options.json, "Write the figures as JSON, too")->type_name("FILE");
    whenChosen(*command, [owned] { runEval(*owned); });
}

}  // namespace katessel
