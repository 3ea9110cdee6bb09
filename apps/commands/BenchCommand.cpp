// The options of `katessel bench`.
#include <CLI/CLI.hpp>
#include <memory>

#include "apps/commands/Bench.h"
#include "apps/commands/Commands.h"

namespace katessel {

namespace {

constexpr char kAboutBench[] =
    "Measures the live engine on generated sound, on one thread: microseconds per\n"
    "frame, times real time, and the share of each stage.";

}  // namespace

void addBenchCommand(CLI::App& app) {
    const auto owned = std::make_shared<BenchOptions>();
    BenchOptions& options = *owned;
    CLI::App* command = app.add_subcommand("bench", "Measure the time per frame");
    command->footer(kAboutBench);
    command->add_option("--model", options.model, "Weight file (default: the one that comes with the tool)");
    command->add_option("--rate", options.rate, "Sample rate [Hz]")
        ->check(CLI::Range(200, 240000))
        ->capture_default_str();
    command->add_option("--seconds", options.seconds, "Length of the sound")
        ->check(CLI::Range(0.1, 600.0))
        ->capture_default_str();
    whenChosen(*command, [owned] { runBench(*owned); });
}

}  // namespace katessel
