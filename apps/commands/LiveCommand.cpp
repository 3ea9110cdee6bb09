// The options of `katessel live`.
#include <CLI/CLI.hpp>
#include <memory>

#include "apps/commands/Commands.h"
#include "apps/commands/Live.h"

namespace katessel {

namespace {

constexpr char kAboutLive[] =
    "Joins the running JACK server (or what stands in for one) and shows the pitch of a\n"
    "port until Ctrl-C: nearest note, cents beside it, needle. The track has a row every\n"
    "5 ms; a file is written at the end, whole. The latency at the end was measured from\n"
    "the sound at the port's source to the finished row.";

}  // namespace

void addLiveCommand(CLI::App& app) {
    const auto owned = std::make_shared<LiveOptions>();
    LiveOptions& options = *owned;
    CLI::App* command = app.add_subcommand("live", "Show the pitch of the microphone or of another JACK port");
    command->footer(kAboutLive);
    command->add_option("--port", options.port, "Port to listen to (default: the first with sound from outside)");
    command->add_flag("--list", options.list, "Only name the ports that can be listened to");
    command->add_option("--csv", options.csv, "Write the track to this file, \"-\": to standard output");
    command->add_option("--duration", options.duration, "End after this many seconds")
        ->check(CLI::Range(0.001, 1e9).description("SECONDS"));
    command->add_option("--model", options.model, "Weight file (default: the one that comes with the tool)");
    command->add_option("--threshold", options.threshold,
                        "Rows with a lower confidence count as not voiced (default: as for track)");
    whenChosen(*command, [owned] { runLive(*owned); });
}

}  // namespace katessel
