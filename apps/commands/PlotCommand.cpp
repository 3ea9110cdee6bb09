// The options of `katessel plot`.
#include <CLI/CLI.hpp>
#include <limits>
#include <memory>

#include "apps/commands/Commands.h"
#include "apps/commands/Plot.h"

namespace katessel {

namespace {

constexpr char kAboutPlot[] =
    "Draws a recording's spectrogram with the pitch over it and the confidence below.\n"
    "Levels are in dB, 0 dB being a sine of amplitude 1. The dashed line is the\n"
    "threshold below which a row counts as not voiced.";

}  // namespace

void addPlotCommand(CLI::App& app) {
    const auto owned = std::make_shared<PlotOptions>();
    PlotOptions& options = *owned;
    CLI::App* command = app.add_subcommand("plot", "Draw a recording's spectrogram and pitch");
    command->footer(kAboutPlot);
    command->add_option("FILE", options.recording, "Recording, in any format that libsndfile reads")->required();
    command->add_option("-o,--output", options.output, "The picture: a name that ends with .png or .svg")->required();
    command->add_option("--start", options.start, "First instant that is shown [s]")->capture_default_str();
    command->add_option("--duration", options.duration, "Seconds that are shown (default: up to the end)")
        ->check(CLI::Range(0.001, 1e9).description("SECONDS"));
    command->add_option("--track", options.track, "Show this track or .f0 file instead of tracking");
    command->add_option("--overlay", options.overlays, "NAME=FILE: show this track or .f0 file as well")
        ->allow_extra_args(false);
    command->add_option("--model", options.model, "Weight file (default: the one that comes with the tool)");
    command->add_option("--threshold", options.threshold,
                        "Rows with a lower confidence count as not voiced (default: as for track)");
    addModeOption(*command, [&options](TrackMode mode) { options.mode = mode; }, "As for track");
    command->add_option("--top-frequency", options.topFrequency, "End of the frequency axis [Hz]")->capture_default_str();
    command->add_option("--bottom-frequency", options.bottomFrequency,
                        "Beginning of the frequency axis [Hz] (default: 50, linear 0)");
    command->add_flag("--linear", options.linear, "Linear frequency axis instead of a logarithmic one");
    command->add_option("--range", options.range, "Levels from the loudest down to white [dB]")
        ->check(CLI::Range(1.0, 200.0))
        ->capture_default_str();
    command->add_option("--size", options.size, "WIDTHxHEIGHT [pixels]")->capture_default_str();
    command->add_option("--title", options.title, "Title (default: the recording's name)");
    whenChosen(*command, [owned] { runPlot(*owned); });
}

}  // namespace katessel
