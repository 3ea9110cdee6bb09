#include "apps/commands/Live.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <vector>

#include "apps/live/JackInput.h"
#include "apps/live/LiveDisplay.h"
#include "recordings/base/Errors.h"
#include "recordings/base/OutputFile.h"
#include "tracking/ModelCard.h"
#include "tracking/ModelCheck.h"
#include "tracking/ModelPath.h"
#include "tracking/RecordingTracker.h"

namespace katessel {

namespace {

constexpr double kWait = 0.05;           // [s] after which an interruption is noticed
constexpr double kDisplayInterval = 0.05; // [s] on a terminal
constexpr double kLineInterval = 0.5;     // [s] elsewhere

volatile sig_atomic_t isInterrupted = 0;

void interrupt(int) { isInterrupted = 1; }

// Ctrl-C is the usual end.
void endOnInterruption() {
    struct sigaction action = {};
    action.sa_handler = &interrupt;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &action, nullptr);
}

std::string csvLine(const PitchRow& row) {
    char line[96];
    std::snprintf(line, sizeof line, "%.3f,%.3f,%.6f\n", row.time, static_cast<double>(row.frequency),
                  static_cast<double>(row.confidence));
    return line;
}

// Where rows go while they come.
class LiveOutput {
public:
    explicit LiveOutput(const std::optional<std::string>& csv)
        : m_streams(csv && (*csv == "-" || csv->empty())), m_isTerminal(isatty(STDOUT_FILENO) != 0) {
        if (csv && !m_streams) m_file.emplace(*csv);
        m_text = "time,frequency,confidence\n";
    }

    void add(const PitchRow& row) {
        if (m_streams || m_file) m_text += csvLine(row);
        if (!m_streams && row.time >= m_nextShown) show(row);
    }

    // Hands over what has come; a reader that went away ends the program.
    void flush() {
        if (!m_streams) return;
        if (std::fwrite(m_text.data(), 1, m_text.size(), stdout) != m_text.size() || std::fflush(stdout) != 0)
            fail("cannot write", "standard output", "room for the result", "none");
        m_text.clear();
    }

    void finish() {
        flush();
        if (m_file) m_file->write(m_text);
        if (!m_streams && m_isTerminal) std::printf("\n");
    }

    // What is said about the run goes where the track does not.
    std::FILE* remarks() const { return m_streams ? stderr : stdout; }

private:
    void show(const PitchRow& row) {
        m_nextShown = row.time + (m_isTerminal ? kDisplayInterval : kLineInterval);
        std::printf(m_isTerminal ? "\r%s" : "%s\n", displayLine(row).c_str());
        std::fflush(stdout);
    }

    std::optional<OutputFile> m_file;
    bool m_streams, m_isTerminal;
    std::string m_text;        // that was not handed over
    double m_nextShown = 0.0;  // [s]
};

// From the sound to the row, for all rows.
class LatencyMeter {
public:
    void add(const LiveRow& row, const JackInput& input) {
        if (input.hasEnded()) return;  // and tells nothing any more
        m_portLatency = input.portLatency();
        m_period = input.period();
        const auto samples = static_cast<std::int32_t>(input.now() - row.clock);
        m_milliseconds.push_back(static_cast<float>(1e3 * (samples + m_portLatency) / row.rate));
    }

    void report(std::FILE* to, const JackInput& input, const LiveTracker& tracker) {
        if (m_milliseconds.empty()) return;
        std::sort(m_milliseconds.begin(), m_milliseconds.end());
        const double rate = input.rate();
        std::fprintf(to, "latency: %.1f ms median, %.1f ms at most (port %.1f ms, engine up to %.1f ms, period %.1f ms)\n",
                     static_cast<double>(m_milliseconds[m_milliseconds.size() / 2]),
                     static_cast<double>(m_milliseconds.back()), 1e3 * m_portLatency / rate, 1e3 * tracker.engineLatency(),
                     1e3 * m_period / rate);
    }

private:
    std::vector<float> m_milliseconds;
    int m_portLatency = 0, m_period = 0;  // [samples]
};

void listPorts() {
    for (const std::string& name : JackInput::sources()) std::printf("%s\n", name.c_str());
}

}  // namespace

void runLive(const LiveOptions& options) {
    if (options.list) return listPorts();
    checkThreshold(options.threshold);
    const std::string model = modelPath(options.model);
    checkModel(model);
    const double threshold = options.threshold ? *options.threshold : defaultThreshold(model);
    LiveOutput output(options.csv);
    JackInput input(options.port);
    LiveTracker tracker(model);
    LatencyMeter latency;
    endOnInterruption();
    std::fprintf(output.remarks(), "listening to %s at %d Hz\n", input.source().c_str(), input.rate());
    std::fflush(output.remarks());

    std::int64_t rows = 0;
    double time = 0.0;  // [s] heard
    std::vector<float> samples;
    const auto onRow = [&](const LiveRow& row) {
        time = row.pitch.time;
        if (options.duration && time >= *options.duration) return;
        PitchRow shown = row.pitch;
        if (shown.confidence < threshold) shown.frequency = 0.0f;
        output.add(shown);
        ++rows;
        latency.add(row, input);
    };
    while (isInterrupted == 0 && !(options.duration && time >= *options.duration)) {
        const std::optional<LiveBlock> block = input.next(samples, kWait);
        if (block)
            tracker.take(*block, samples, onRow);
        else if (input.hasEnded())
            break;
        output.flush();
    }
    output.finish();
    std::fprintf(output.remarks(), "%lld rows, %lld xruns, %lld samples dropped\n", static_cast<long long>(rows),
                 static_cast<long long>(input.xruns()), static_cast<long long>(input.dropped()));
    latency.report(output.remarks(), input, tracker);
    if (input.hasEnded() && isInterrupted == 0)
        fail("listening ended early", "JACK", "a running server", "one that went away");
}

}  // namespace katessel
