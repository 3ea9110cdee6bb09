// `katessel live`: the pitch of a microphone or a JACK port, now.
#include <signal.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/commands/Commands.h"
#include "apps/live/LiveInput.h"
#include "apps/live/LiveOutput.h"
#include "apps/live/LiveTracker.h"
#include "recordings/base/Errors.h"
#include "tracking/Model.h"

namespace katessel {

namespace {

constexpr char kAboutLive[] =
    "Shows the pitch of a microphone until Ctrl-C: nearest note, cents beside it, needle. It\n"
    "is the first port with sound from outside of the JACK server, where one runs, and\n"
    "else the default device of the system; --list names all. The track has a row every\n"
    "5 ms; its file grows as NAME.RANDOM.part, a second at a time, and gets its name at\n"
    "the end. The latency at the end was measured from the sound at its source, as far\n"
    "back as the system tells, to the finished row.";

struct LiveOptions {
    LiveChoice source;
    bool list = false;  // only name what can be listened to
    NoteNaming naming;
    std::optional<std::string> csv;   // file of the track; "-": standard output; none: none
    std::optional<double> duration;   // [s]; none: until interrupted
    std::string model;                // empty: the default model
    std::optional<double> threshold;  // none: the model's own
    std::optional<Voicing> voicing;   // none: hysteresis
};

constexpr double kWait = 0.05;  // [s] after which an interruption is noticed

volatile sig_atomic_t isInterrupted = 0;

void interrupt(int) { isInterrupted = 1; }

// Ctrl-C is the usual end. A second one does not wait for a sound system that hangs.
void endOnInterruption() {
    struct sigaction action = {};
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    action.sa_handler = &interrupt;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &action, nullptr);
}

// From the sound to the row, for all rows: a histogram, so that hours take no more room than seconds.
class LatencyMeter {
public:
    void add(const LiveRow& row, const LiveInput& input) {
        if (input.hasEnded()) return;  // and tells nothing any more
        m_sourceLatency = input.sourceLatency();
        m_period = input.period();
        const auto samples = static_cast<std::int32_t>(input.now() - row.clock);
        const double milliseconds = 1e3 * (samples + m_sourceLatency) / row.rate;
        m_most = std::max(m_most, milliseconds);
        ++m_counts[static_cast<std::size_t>(std::clamp(std::round(milliseconds / kStep), 0.0, kSteps - 1.0))];
        ++m_rows;
    }

    void report(std::FILE* to, const LiveInput& input, const LiveTracker& tracker) const {
        if (m_rows == 0) return;
        const double rate = input.rate();
        std::fprintf(
            to, "latency: %.1f ms median, %.1f ms at most (source %.1f ms, engine up to %.1f ms, period %.1f ms)\n",
            median(), m_most, 1e3 * m_sourceLatency / rate, 1e3 * tracker.engineLatency(), 1e3 * m_period / rate);
    }

private:
    static constexpr double kStep = 0.1;  // [ms]
    static constexpr int kSteps = 20000;  // the last one takes all that is longer

    double median() const {
        std::size_t step = 0;
        for (std::int64_t below = m_counts[0]; 2 * below <= m_rows; below += m_counts[step]) ++step;
        return kStep * static_cast<double>(step);
    }

    std::vector<std::int64_t> m_counts = std::vector<std::int64_t>(kSteps);
    std::int64_t m_rows = 0;
    double m_most = 0.0;                    // [ms]
    int m_sourceLatency = 0, m_period = 0;  // [samples]
};

void printInputs() {
    for (const std::string& line : listInputs()) std::printf("%s\n", line.c_str());
}

void runLive(const LiveOptions& options) {
    if (options.list) return printInputs();
    const Model model = chooseModel(options.model, TrackMode::live, options.threshold);
    ReadFiles read;
    addModel(read, model.path);
    checkOutputs({options.csv.value_or("")}, read);
    LiveOutput output(options.csv, options.naming);
    const std::unique_ptr<LiveInput> opened = openInput(options.source);
    LiveInput& input = *opened;
    LiveTracker tracker(model.path);
    KaTessel::VoicingFilter<LiveRow> voicing(
        {model.threshold, options.voicing.value_or(usualVoicing(TrackMode::live))});
    LatencyMeter latency;
    endOnInterruption();
    std::fprintf(output.remarks(), "listening to %s at %d Hz\n", input.source().c_str(), input.rate());
    std::fflush(output.remarks());

    std::int64_t rows = 0;
    double time = 0.0;  // [s] heard
    std::vector<float> samples;
    const auto show = [&](const LiveRow& row, bool voiced) {
        PitchRow shown = row.pitch;
        if (!voiced) shown.frequency = 0.0f;
        output.add(shown);
        ++rows;
        latency.add(row, input);
    };
    const auto onRow = [&](const LiveRow& row) {
        time = row.pitch.time;
        if (options.duration && time >= *options.duration) return;
        voicing.add(row, row.pitch.confidence, show);
    };
    while (isInterrupted == 0 && !(options.duration && time >= *options.duration)) {
        const std::optional<LiveBlock> block = input.next(samples, kWait);
        if (block)
            tracker.process(*block, samples, onRow);
        else if (input.hasEnded())
            break;
        output.flush();
    }
    voicing.finish(show);
    output.finish();
    std::fprintf(output.remarks(), "%lld rows, %lld xruns, %lld samples dropped\n", static_cast<long long>(rows),
                 static_cast<long long>(input.xruns()), static_cast<long long>(input.dropped()));
    latency.report(output.remarks(), input, tracker);
    if (input.hasEnded() && isInterrupted == 0)
        fail("listening ended early", input.source(), "a source that stays", "one that went away");
}

}  // namespace

void addLiveCommand(CLI::App& app) {
    const auto owned = std::make_shared<LiveOptions>();
    LiveOptions& options = *owned;
    CLI::App* command = app.add_subcommand("live", kLiveSummary);
    command->footer(kAboutLive);
    CLI::Option* const port = command->add_option("--port", options.source.port, "JACK port to listen to");
    command
        ->add_option("--device", options.source.device,
                     "Device to listen to: its number in the list, its name, or a part of it")
        ->excludes(port);
    command->add_flag("--list", options.list, "Only name what can be listened to");
    command->add_option("--a4", options.naming.a4, "Frequency of A4 for notes and cents (default: 440)")
        ->type_name("HZ")
        ->check(numberBetween(380.0, 480.0));
    command
        ->add_option("--transpose", options.naming.transposition,
                     "Call notes this many semitones above those that sound, as a transposing instrument's player "
                     "reads them (B flat clarinet: 2)")
        ->type_name("N")
        ->check(numberBetween(-36.0, 36.0));
    command->add_option("--csv", options.csv, "Write the track to this file, \"-\": to standard output")
        ->type_name("FILE");
    command->add_option("--duration", options.duration, "End after this many seconds")
        ->check(numberBetween(0.001, kMostSeconds));
    addModelOption(*command, options.model);
    addThresholdOption(*command, options.threshold);
    addVoicingOption(*command, options.voicing, "As for track --mode live; smooth comes 5 ms later");
    whenChosen(*command, [owned] { runLive(*owned); });
}

}  // namespace katessel
