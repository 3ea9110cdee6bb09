// What the commands have in common: the options that several of them take.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <optional>
#include <string>

#include "apps/commands/CommandList.h"
#include "recordings/audio/Excerpt.h"
#include "tracking/RecordingTracker.h"

namespace katessel {

// Runs `work` once the whole command line is read and says that this command is the chosen one, with the vector
// instructions that the environment asks for.
void whenChosen(CLI::App& command, std::function<void()> work);

// Applies the environment's KATESSEL_ISA when it is set and not empty. A name that is unknown or that this machine cannot
// run is wrong usage; the message lists the possible ones.
void applyInstructionChoice();

// A number that is one, from `least` to `most`.
CLI::Validator numberBetween(double least, double most);

constexpr double kMostSeconds = 1e9, kMostHertz = 1e6;  // of any option

// Options that several commands share: --start (or --from), --to and --duration, in seconds or as clock times, into an excerpt
// that is whole once the command line is read; --quiet; --threshold; --model; --mode, as a whole or as a host streams it; and
// --voicing.
void addExcerptOptions(CLI::App& command, Excerpt& excerpt);
void addQuietOption(CLI::App& command, bool& quiet);
void addThresholdOption(CLI::App& command, std::optional<double>& threshold,
                        const std::string& meaning = "a frame counts as voiced (default: as for track)");
void addModelOption(CLI::App& command, std::string& model);
void addModeOption(CLI::App& command, std::function<void(TrackMode)> chosen, const std::string& meaning);
void addVoicingOption(CLI::App& command, std::optional<Voicing>& voicing, const std::string& meaning = "As for track");

}  // namespace katessel
