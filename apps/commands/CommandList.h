// The tool's commands: each adds itself, with its options, to the command line. Without the parser's header, which takes
// longer to compile than most programs.
#pragma once

namespace CLI {
class App;
}

namespace katessel {

struct PlotOptions;

void addTrackCommand(CLI::App& app);
void addEvalCommand(CLI::App& app);
void addBenchCommand(CLI::App& app);
void addPlotCommand(CLI::App& app, void (*run)(const PlotOptions&));
void addModelCommand(CLI::App& app);
void addSynthCommand(CLI::App& app);
void addLiveCommand(CLI::App& app);

// Of those that are programs of their own.
constexpr char kPlotSummary[] = "Draw a recording's spectrogram and pitch";
constexpr char kLiveSummary[] = "Show the pitch of the microphone or of a JACK port";

}  // namespace katessel
