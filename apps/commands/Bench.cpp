// `katessel bench`: what a frame costs on this machine.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <memory>
#include <numbers>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "apps/commands/Commands.h"
#include "katessel/CTessel.h"
#include "katessel/EngineFacts.hpp"
#include "katessel/InstructionSet.h"
#include "recordings/base/Errors.h"
#include "recordings/base/Text.h"
#include "tracking/Model.h"
#include "tracking/BlockStream.h"

namespace katessel {

namespace {

namespace facts = KaTessel::facts;

constexpr char kAboutBench[] =
    "Measures the live engine on generated sound, on one thread: microseconds per\n"
    "frame, times real time, and the share of each stage.";

struct BenchOptions {
    std::string model;      // empty: the default model
    int rate = 48000;       // [Hz] of the stream
    double seconds = 10.0;  // length of the measured sound
};

using Clock = std::chrono::steady_clock;

constexpr int kWarmUpFrames = 200;  // one second: delay lines, caches and the clock frequency settle
constexpr int kConfigureRuns = 5;

// `seconds` at `rate` [Hz] of a voice-like tone, ten harmonics gliding between 100 and 400 Hz, over a little noise. The same
// on every run.
std::vector<float> makeTestSound(int rate, double seconds) {
    constexpr int kHarmonics = 10;
    constexpr double kTurn = 2.0 * std::numbers::pi;
    std::minstd_rand noise;  // starts at 1
    std::uniform_real_distribution<float> level(-0.01f, 0.01f);
    std::vector<float> sound(static_cast<std::size_t>(seconds * rate));
    double phase = 0.0;
    for (std::size_t i = 0; i < sound.size(); ++i) {
        const double t = static_cast<double>(i) / rate;
        phase += kTurn * 200.0 * std::exp2(std::sin(kTurn * 0.3 * t)) / rate;
        double sum = 0.0;
        for (int h = 1; h <= kHarmonics; ++h)
            if (h * 400.0 < 0.5 * rate) sum += std::sin(h * phase) / h;
        sound[i] = static_cast<float>(0.2 * sum) + level(noise);
    }
    return sound;
}

double microsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t half = values.size() / 2;
    return values.size() % 2 == 1 ? values[half] : 0.5 * (values[half - 1] + values[half]);
}

double largest(const std::vector<double>& values) { return *std::max_element(values.begin(), values.end()); }

void configure(KaTessel::CTessel& engine, int rate, int blockSize, const std::string& model) {
    if (engine.configure(rate, 0, blockSize, model.c_str()) != 0)
        fail("cannot load the model", model, "a weight file", "none");
}

// [ms], median over fresh engines.
double measureConfigure(const BlockStream& stream, const std::string& model) {
    std::vector<double> times;
    for (int run = 0; run < kConfigureRuns; ++run) {
        KaTessel::CTessel engine;
        const Clock::time_point start = Clock::now();
        configure(engine, stream.rate(), stream.blockSize(), model);
        times.push_back(microsSince(start) * 1e-3);
    }
    return median(times);
}

// Blocks of about 5 ms, as a host passes them.
BlockStream hostBlocks(int rate) {
    return BlockStream(rate, std::max(static_cast<int>(rate * facts::kHopSeconds), BlockStream::smallestBlock(rate)));
}

struct StreamFigures {
    double firstFrame = 0.0;     // [us]
    std::vector<double> frames;  // [us] each, after the warm-up
    float f0 = 0.0f;             // [Hz] last estimate
};

// Every frame's cost: that of all the calls since the frame before, resampling included.
StreamFigures measureStream(const BlockStream& stream, const std::string& model, const std::vector<float>& sound) {
    KaTessel::CTessel engine;
    configure(engine, stream.rate(), stream.blockSize(), model);
    StreamFigures figures;
    float confidence = 0.0f;
    double sinceFrame = 0.0;
    const std::int64_t blocks = static_cast<std::int64_t>(sound.size()) / stream.blockSize();
    for (std::int64_t b = 0; b < blocks; ++b) {
        const float* block = sound.data() + b * stream.blockSize();
        const Clock::time_point start = Clock::now();
        engine.doProcess(block, stream.blockSize(), &figures.f0, &confidence, 0);
        sinceFrame += microsSince(start);
        const std::int64_t before = stream.framesAfter(b);
        const std::int64_t completed = stream.framesAfter(b + 1) - before;
        if (completed == 0) continue;
        if (before == 0) figures.firstFrame = sinceFrame;
        if (before >= kWarmUpFrames) figures.frames.push_back(sinceFrame / static_cast<double>(completed));
        sinceFrame = 0.0;
    }
    return figures;
}

struct Stage {
    const char* name;
    std::vector<double> times = {};  // [us]
};

// The four stages of one frame, called one by one on the frames of a sound at 24 kHz.
std::vector<Stage> measureStages(const std::string& model, const std::vector<float>& sound) {
    KaTessel::CTessel engine;
    configure(engine, facts::kRate, facts::kHop, model);
    std::vector<float> features(static_cast<std::size_t>(engine.numBands));
    std::vector<Stage> stages = {{"spectrum"}, {"bands"}, {"network"}, {"heads"}};
    const std::int64_t frames = (static_cast<std::int64_t>(sound.size()) - engine.fftSize) / facts::kHop;
    for (std::int64_t f = 0; f < frames; ++f) {
        std::copy_n(sound.data() + f * facts::kHop, engine.fftSize, engine.frame);
        std::fill(features.begin(), features.end(), 0.0f);
        const auto timed = [&](std::size_t stage, const auto& work) {
            const Clock::time_point start = Clock::now();
            work();
            const double time = microsSince(start);
            if (f >= kWarmUpFrames) stages[stage].times.push_back(time);
        };
        timed(0, [&] { engine.spectrumStage(engine.frame); });
        timed(1, [&] { engine.bandStage(features.data()); });
        timed(2, [&] { engine.networkStage(features.data()); });
        timed(3, [&] { engine.headStage(); });
    }
    return stages;
}

void printStage(const char* name, const std::vector<double>& times) {
    std::printf("  %-12s %9.2f %9.2f\n", name, median(times), largest(times));
}

void runBench(const BenchOptions& options) {
    const std::string model = chooseModel(options.model, TrackMode::live, std::nullopt).path;
    const BlockStream stream = hostBlocks(options.rate);
    const double seconds = options.seconds + (kWarmUpFrames + 20) * facts::kHopSeconds;

    const double configureTime = measureConfigure(stream, model);
    const StreamFigures figures = measureStream(stream, model, makeTestSound(stream.rate(), seconds));
    const std::vector<Stage> stages = measureStages(model, makeTestSound(facts::kRate, seconds));
    if (figures.frames.empty() || stages.front().times.empty())
        failUsage("nothing measured", "--seconds", "a longer sound", shortNumber(options.seconds));

    const double frame = median(figures.frames);
    std::printf("model            %s\n", model.c_str());
    std::printf("instruction set  %s\n", KaTessel::instructionSet());
    std::printf("stream           %d Hz, %d samples a call, one thread\n", stream.rate(), stream.blockSize());
    std::printf("configure        %.2f ms, median of %d engines\n", configureTime, kConfigureRuns);
    std::printf("first frame      %.0f us, before any warm-up\n", figures.firstFrame);
    std::printf("measured         %zu frames, after %d frames of warm-up\n", figures.frames.size(), kWarmUpFrames);
    std::printf("last estimate    %.2f Hz\n", static_cast<double>(figures.f0));
    std::printf("\n  us per frame    median     worst\n");
    printStage("whole call", figures.frames);
    for (const Stage& stage : stages) printStage(stage.name, stage.times);
    std::printf("\n%.0f x real time: 5 ms / median of a whole call\n", facts::kHopSeconds * 1e6 / frame);
}

}  // namespace

void addBenchCommand(CLI::App& app) {
    const auto owned = std::make_shared<BenchOptions>();
    BenchOptions& options = *owned;
    CLI::App* command = app.add_subcommand("bench", "Measure the time per frame");
    command->footer(kAboutBench);
    addModelOption(*command, options.model);
    command->add_option("--rate", options.rate, "Sample rate [Hz]")
        ->check(CLI::Range(200, 240000))
        ->capture_default_str();
    command->add_option("--seconds", options.seconds, "Length of the sound")
        ->check(numberBetween(0.1, 600.0))
        ->capture_default_str();
    whenChosen(*command, [owned] { runBench(*owned); });
}

}  // namespace katessel
