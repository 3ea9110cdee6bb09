// `katessel plot`: a recording's spectrogram with the pitch over it. Here are its options; what draws comes with the program
// that has the library for it.
#include <memory>

#include "apps/commands/Commands.h"
#include "apps/picture/Plot.h"

namespace katessel {

namespace {

constexpr char kAboutPlot[] =
    "Draws a recording's spectrogram with the pitch over it and the confidence below.\n"
    "Levels are in dB, 0 dB being a sine of amplitude 1. The dashed line is the\n"
    "threshold of the voicing. Where many rows fall into a column of pixels, it has a\n"
    "line at their middle and a band in which half of them lie.";

}  // namespace

void addPlotCommand(CLI::App& app, void (*run)(const PlotOptions&)) {
    const auto owned = std::make_shared<PlotOptions>();
    PlotOptions& options = *owned;
    CLI::App* command = app.add_subcommand("plot", kPlotSummary);
    command->footer(kAboutPlot);
    command->add_option("FILE", options.recording, "Recording, as for track")->required();
    command->add_option("-o,--output", options.output, "The picture: a name that ends with .png or .svg")
        ->type_name("FILE")
        ->required();
    addExcerptOptions(*command, options.excerpt);
    command->add_option("--track", options.track, "Show this track or .f0 file instead of tracking")->type_name("FILE");
    command->add_option("--overlay", options.overlays, "NAME=FILE: show this track or .f0 file as well")
        ->allow_extra_args(false);
    addModelOption(*command, options.model);
    addThresholdOption(*command, options.threshold);
    addModeOption(
        *command, [&options](TrackMode mode) { options.mode = mode; }, "As for track");
    addVoicingOption(*command, options.voicing);
    command->add_option("--top-frequency", options.topFrequency, "End of the frequency axis [Hz]")
        ->check(numberBetween(1.0, kMostHertz))
        ->capture_default_str();
    command
        ->add_option("--bottom-frequency", options.bottomFrequency,
                     "Beginning of the frequency axis [Hz] (default: 50, linear 0)")
        ->check(numberBetween(0.0, kMostHertz));
    command->add_flag("--linear", options.linear, "Linear frequency axis instead of a logarithmic one");
    command->add_option("--range", options.range, "Levels from the loudest down to white [dB]")
        ->check(numberBetween(1.0, 200.0))
        ->capture_default_str();
    command->add_option("--size", options.size, "WIDTHxHEIGHT [pixels]")->capture_default_str();
    command->add_option("--title", options.title, "Title (default: the recording's name)");
    addQuietOption(*command, options.quiet);
    whenChosen(*command, [owned, run] { run(*owned); });
}

}  // namespace katessel
