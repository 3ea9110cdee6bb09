// The options of `katessel track`.
#include <CLI/CLI.hpp>
#include <limits>
#include <memory>
#include <string>

#include "Commands.h"
#include "Track.h"

namespace {

constexpr char kAboutTrack[] =
    "Writes the pitch of a recording as CSV: time,frequency,confidence.\n"
    "\n"
    "`time` [s] is an instant of the recording itself, with all latency taken out: row\n"
    "i says what is heard at i * 5 ms, the centre of what was analysed for it. There\n"
    "is a row for every such instant from 0 on that lies before the recording's end.\n"
    "`frequency` [Hz] is 0 where the recording is not voiced; `confidence` is about\n"
    "the probability that it is. Several channels are averaged.";

}  // namespace

void addTrackCommand(CLI::App& app) {
    const auto owned = std::make_shared<TrackOptions>();
    TrackOptions& options = *owned;
    CLI::App* command = app.add_subcommand("track", "Write the pitch of a recording as CSV");
    command->footer(kAboutTrack);
    command->add_option("FILE", options.recording, "Recording, in any format that libsndfile reads")->required();
    command->add_option("-o,--output", options.output, "Write to this file instead of standard output");
    command->add_option("--model", options.model, "Weight file (default: the one that comes with the tool)");
    command->add_flag("--cents", options.cents, "Pitch in cents above 440 Hz, `nan` where not voiced");
    command->add_option("--threshold", options.threshold,
                        "Rows with a lower confidence count as not voiced (default: the model's own, else 0.5)");
    addModeOption(*command, [&options](TrackMode mode) { options.mode = mode; },
                  "offline: the whole recording at once, every instant seen from both sides (default); "
                  "live: as a host streams it");
    command
        ->add_option("--block-size", options.blockSize,
                     "This many samples a call, as a host would: of each call only the last frame is seen "
                     "(implies --mode live)")
        ->check(CLI::Range(1, std::numeric_limits<int>::max()).description("POSITIVE"));
    whenChosen(*command, [owned] { runTrack(*owned); });
}
