// The tool's commands: each adds itself, with its options, to the command line.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <optional>
#include <string>

#include "tracking/RecordingTracker.h"

namespace katessel {

void addTrackCommand(CLI::App& app);
void addEvalCommand(CLI::App& app);
void addBenchCommand(CLI::App& app);
void addPlotCommand(CLI::App& app);
void addModelCommand(CLI::App& app);
void addSynthCommand(CLI::App& app);
void addLiveCommand(CLI::App& app);

// Of those that are programs of their own.
constexpr char kPlotSummary[] = "Draw a recording's spectrogram and pitch";
constexpr char kLiveSummary[] = "Show the pitch of the microphone or of a JACK port";

// Runs `work` once the whole command line is read and says that this command is the chosen one, with the vector
// instructions that the environment asks for.
void whenChosen(CLI::App& command, std::function<void()> work);

// Applies the environment's KATESSEL_ISA when it is set and not empty. A name that is unknown or that this machine cannot
// run is wrong usage; the message lists the possible ones.
void applyInstructionChoice();

// A number that is one, from `least` to `most`.
CLI::Validator numberBetween(double least, double most);

constexpr double kMostSeconds = 1e9, kMostHertz = 1e6;  // of any option

// Options that several commands share: --quiet; --threshold; --model; --mode, as a whole or as a host streams it; and --voicing.
void addQuietOption(CLI::App& command, bool& quiet);
void addThresholdOption(CLI::App& command, std::optional<double>& threshold,
                        const std::string& meaning = "a frame counts as voiced (default: as for track)");
void addModelOption(CLI::App& command, std::string& model);
void addModeOption(CLI::App& command, std::function<void(TrackMode)> chosen, const std::string& meaning);
void addVoicingOption(CLI::App& command, std::optional<Voicing>& voicing, const std::string& meaning = "As for track");

}  // namespace katessel
