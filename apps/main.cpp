// katessel: pitch tracks of recordings, and what a frame costs.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <limits>
#include <string>

#include "Bench.h"
#include "Errors.h"
#include "Eval.h"
#include "InstructionChoice.h"
#include "Track.h"
#include "katessel/InstructionSet.h"
#include "katessel/KTessel.h"

namespace {

constexpr char kAbout[] =
    "Estimates the pitch of one voice or instrument every 5 ms.\n"
    "\n"
    "The environment variable KATESSEL_ISA names the vector instructions to compute\n"
    "with (scalar, sse2, avx2 or avx512); without it the best available are used.\n"
    "Exit status: 0 success, 1 failure, 2 wrong usage.";

constexpr char kAboutTrack[] =
    "Writes the pitch of a recording as CSV: time,frequency,confidence.\n"
    "\n"
    "`time` [s] is an instant of the recording itself, with all latency taken out: row\n"
    "i says what is heard at i * 5 ms, the centre of what was analysed for it. There\n"
    "is a row for every such instant from 0 on that lies before the recording's end.\n"
    "`frequency` [Hz] is 0 where the recording is not voiced; `confidence` is about\n"
    "the probability that it is. Several channels are averaged.";

constexpr char kAboutBench[] =
    "Measures the live engine on generated sound, on one thread: microseconds per\n"
    "frame, times real time, and the share of each stage.";

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

// What --mode takes.
const std::vector<std::string> kModes = {"offline", "live"};

TrackMode modeNamed(const std::string& name) { return name == "live" ? TrackMode::live : TrackMode::offline; }

CLI::App* addTrack(CLI::App& app, TrackOptions& options) {
    CLI::App* command = app.add_subcommand("track", "Write the pitch of a recording as CSV");
    command->footer(kAboutTrack);
    command->add_option("FILE", options.recording, "Recording, in any format that libsndfile reads")->required();
    command->add_option("-o,--output", options.output, "Write to this file instead of standard output");
    command->add_option("--model", options.model, "Weight file (default: the one that comes with the tool)");
    command->add_flag("--cents", options.cents, "Pitch in cents above 440 Hz, `nan` where not voiced");
    command->add_option("--threshold", options.threshold,
                        "Rows with a lower confidence count as not voiced (default: the model's own, else 0.5)");
    command
        ->add_option_function<std::string>(
            "--mode", [&options](const std::string& name) { options.mode = modeNamed(name); },
            "offline: the whole recording at once, every instant seen from both sides (default); "
            "live: as a host streams it")
        ->check(CLI::IsMember(kModes));
    command
        ->add_option("--block-size", options.blockSize,
                     "This many samples a call, as a host would: of each call only the last frame is seen "
                     "(implies --mode live)")
        ->check(CLI::Range(1, std::numeric_limits<int>::max()).description("POSITIVE"));
    return command;
}

CLI::App* addEval(CLI::App& app, EvalOptions& options) {
    CLI::App* command = app.add_subcommand("eval", "Score tracks against known pitch");
    command->footer(kAboutEval);
    command->add_option("--ref", options.references, "A folder of recordings, or an .f0 file and a track")
        ->required()
        ->expected(1, 2);
    command->add_option("--tracks", options.tracks,
                        "With a folder: score the tracks under this one, FOLDER/CLIP.csv for each recording, instead "
                        "of tracking");
    command->add_option("--model", options.model, "Weight file (default: the one that comes with the tool)");
    command->add_option("--threshold", options.threshold,
                        "Frames with a lower confidence count as not voiced (default: as for track)");
    command->add_option_function<std::string>(
               "--mode", [&options](const std::string& name) { options.mode = modeNamed(name); }, "As for track")
        ->check(CLI::IsMember(kModes));
    command->add_option("--csv", options.csv, "Write the figures as CSV, too");
    command->add_option("--json", options.json, "Write the figures as JSON, too");
    return command;
}

CLI::App* addBench(CLI::App& app, BenchOptions& options) {
    CLI::App* command = app.add_subcommand("bench", "Measure the time per frame");
    command->footer(kAboutBench);
    command->add_option("--model", options.model, "Weight file (default: the one that comes with the tool)");
    command->add_option("--rate", options.rate, "Sample rate [Hz]")
        ->check(CLI::Range(200, 240000))
        ->capture_default_str();
    command->add_option("--seconds", options.seconds, "Length of the sound")
        ->check(CLI::Range(0.1, 600.0))
        ->capture_default_str();
    return command;
}

// Returns false when help or the version was asked for and has been printed.
bool parse(CLI::App& app, int argc, char** argv) {
    try {
        app.parse(argc, argv);
        return true;
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() != 0) throw ToolError(std::string("wrong usage: ") + error.what(), kStatusUsage);
        app.exit(error);
        return false;
    }
}

void run(int argc, char** argv) {
    CLI::App app(kAbout, "katessel");
    app.set_version_flag("--version", [] {
        applyInstructionChoice();
        return std::string(KTessel_GetVersion()) + ", " + KaTessel::instructionSet();
    });
    app.require_subcommand(1);
    TrackOptions track;
    BenchOptions bench;
    EvalOptions eval;
    const CLI::App* const trackCommand = addTrack(app, track);
    const CLI::App* const evalCommand = addEval(app, eval);
    addBench(app, bench);
    if (!parse(app, argc, argv)) return;
    applyInstructionChoice();
    if (trackCommand->parsed())
        runTrack(track);
    else if (evalCommand->parsed())
        runEval(eval);
    else
        runBench(bench);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        run(argc, argv);
        if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
            fail("cannot write", "standard output", "room for the result", "none");
        return 0;
    } catch (const ToolError& error) {
        printError(error.what());
        return error.status();
    } catch (const std::exception& error) {
        printError(error.what());
        return kStatusFailure;
    }
}
