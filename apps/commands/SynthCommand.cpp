// The options of `katessel synth`.
#include <CLI/CLI.hpp>
#include <memory>

#include "apps/commands/Commands.h"
#include "apps/commands/Synth.h"

namespace katessel {

namespace {

constexpr char kAboutSynth[] =
    "Writes a tone that follows the pitch. FILE is a track (.csv, .tsv, .txt), an .f0\n"
    "file, or else a recording, which is tracked first. The tone is as loud as the\n"
    "recording; without one, its level follows the confidence. What would be clipped is\n"
    "made quieter as a whole. 24 bits a sample.";

}  // namespace

void addSynthCommand(CLI::App& app) {
    const auto owned = std::make_shared<SynthOptions>();
    SynthOptions& options = *owned;
    CLI::App* command = app.add_subcommand("synth", "Make a pitch track audible");
    command->footer(kAboutSynth);
    command->add_option("FILE", options.input, "Track, .f0 file or recording")->required();
    command->add_option("-o,--output", options.output, "Sound file: a name that ends with .wav or .flac")->required();
    command->add_option("--mix", options.mix, "Let this recording be heard as well");
    command->add_flag("--stereo", options.stereo, "Recording on the left, tone on the right");
    const auto choose = [&options](const std::string& name) {
        options.waveform = name == "sine" ? Waveform::sine : Waveform::harmonics;
    };
    command->add_option_function<std::string>("--waveform", choose, "harmonics: eight of them (default); sine: one")
        ->check(CLI::IsMember({"harmonics", "sine"}));
    command->add_option("--rate", options.rate, "Sample rate [Hz] of a track without a recording (default: 48000)")
        ->check(CLI::Range(8000, 384000));
    command->add_option("--model", options.model, "Weight file (default: the one that comes with the tool)");
    command->add_option("--threshold", options.threshold,
                        "Rows with a lower confidence count as not voiced (default: as for track)");
    addModeOption(*command, [&options](TrackMode mode) { options.mode = mode; }, "As for track");
    whenChosen(*command, [owned] { runSynth(*owned); });
}

}  // namespace katessel
