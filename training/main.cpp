// katessel-train: trains the weights of the engine's network.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <optional>

#include "BackgroundScores.h"
#include "Corpus.h"
#include "RunLog.h"
#include "Trainer.h"
#include "recordings/base/Errors.h"
#include "recordings/base/ProcessStart.h"
#include "recordings/base/Text.h"

namespace fs = std::filesystem;
using namespace katessel;
using namespace katessel::training;

namespace {

constexpr char kAbout[] =
    "Trains the weights of the engine's network on recordings with known pitch (`.f0`\n"
    "files beside them), recordings of noise, and generated sound.\n"
    "\n"
    "The folder --out gets current.weights (averaged weights, for use), checkpoint.pt\n"
    "(from which the same command goes on after an interruption), losses.csv and\n"
    "scores.csv. The same seed and number of threads give the same run.";

constexpr int kLossSteps = 50;  // steps per line of losses.csv

// What libraries read when they are loaded: one thread per product, inside workers that fill the machine, and memory that
// is kept, because every step asks for the same large pieces again and fresh ones must be cleared first.
void setEnvironment(char** argv) {
    if (std::getenv("OPENBLAS_NUM_THREADS") != nullptr) return;
    setenv("OPENBLAS_NUM_THREADS", "1", 1);
    setenv("OMP_NUM_THREADS", "1", 1);
    setenv("MALLOC_MMAP_THRESHOLD_", "4000000000", 0);
    setenv("MALLOC_TRIM_THRESHOLD_", "8000000000", 0);
    setenv("MALLOC_TOP_PAD_", "100000000", 0);
    execv("/proc/self/exe", argv);  // returns only when it fails, and then training is merely slow
}

CLI::Validator numberBetween(double least, double most) {
    return CLI::Validator([=](std::string& text) { return numberProblem(text, least, most); }, "");
}

TrainingOptions parse(CLI::App& app, int argc, char** argv) {
    TrainingOptions options;
    app.add_option("--recordings", options.recordings,
                   "Folder of recordings with .f0 files (default: generated sound alone)");
    app.add_option("--noises", options.noises, "Folder of recordings without pitch");
    app.add_option("--voices", options.voices, "Folder of speech without .f0 files, for babble");
    app.add_option("--scored", options.scored, "Folder of other recordings, to score the weights on now and then");
    app.add_option("-o,--out", options.out, "Folder for everything that is written")->required();
    app.add_option("--start", options.start,
                   "Begin with the averaged weights of this checkpoint, or with this weight file");
    app.add_option("--steps", options.steps, "Length of the run")->check(CLI::PositiveNumber)->capture_default_str();
    app.add_option("--threads", options.threads, "Workers, one core each")
        ->check(CLI::Range(1, 256))
        ->capture_default_str();
    app.add_option("--batch", options.batch, "Stretches of 40 frames per worker and step")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    app.add_option("--pool", options.pool, "Scenes that each worker holds")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    app.add_option("--fresh", options.fresh, "New scenes per worker and step")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    app.add_option("--rate", options.rate, "Highest learning rate")
        ->check(numberBetween(1e-9, 10.0))
        ->capture_default_str();
    app.add_option("--width", options.width, "Width of the pitch loss at the end, in cents")
        ->check(numberBetween(0.01, 1e4))
        ->capture_default_str();
    app.add_option("--average", options.average, "Decay of the averaged weights")
        ->check(numberBetween(0.0, 0.99999))
        ->capture_default_str();
    app.add_option("--coarse", options.coarse, "Part of the run whose products are in bfloat16")
        ->check(numberBetween(0.0, 1.0))
        ->capture_default_str();
    app.add_option("--seed", options.seed, "Seed of all random choices")->capture_default_str();
    app.add_option("--checkpoint-seconds", options.checkpointSeconds, "Between two checkpoints")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    app.add_option_function<std::string>(
           "--optimizer",
           [&](const std::string& name) {
               options.optimizer = name == "adam" ? OptimizerKind::adam : OptimizerKind::soap;
           },
           "soap (default) or adam")
        ->check(CLI::IsMember(std::vector<std::string>{"soap", "adam"}));
    app.add_option_function<std::string>(
           "--form",
           [&](const std::string& name) {
               options.forms = name == "live" ? Forms::streaming : name == "offline" ? Forms::offline : Forms::both;
           },
           "What the weights are for: both (default), live or offline alone")
        ->check(CLI::IsMember(std::vector<std::string>{"both", "live", "offline"}));
    if (torch::cuda::is_available()) options.device = "cuda";
    app.add_option("--device", options.device, "cpu or cuda")->capture_default_str();
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() != 0)
            throw ToolError(std::string("wrong usage: ").append(error.what()), kStatusUsage);
        std::exit(app.exit(error));
    }
    return options;
}

void train(const TrainingOptions& options) {
    torch::set_num_threads(1);
    std::optional<Corpus> recordings, noises, voices;
    if (!options.recordings.empty()) recordings.emplace(options.recordings, true);
    if (!options.noises.empty()) noises.emplace(options.noises, false);
    if (!options.voices.empty()) voices.emplace(options.voices, false);
    Sources sources;
    if (recordings) sources.pitched = &*recordings;
    if (noises) sources.noises = &*noises;
    if (voices) sources.voices = &*voices;
    std::fprintf(stderr, "%.1f minutes of recordings, %.1f of noise; rendering the first %d scenes\n",
                 recordings ? recordings->seconds() / 60.0 : 0.0, noises ? noises->seconds() / 60.0 : 0.0,
                 options.pool * options.threads);

    Trainer trainer(options, sources);
    RunLog log(options.out, trainer.steps(), options.steps);
    BackgroundScores scores(options, log);
    auto saved = std::chrono::steady_clock::now();
    LossMeans sum;
    int counted = 0;
    while (trainer.steps() < options.steps) {
        const LossMeans means = trainer.step();
        if (!std::isfinite(means.total)) {
            scores.finish();
            fail("the training has failed", "step " + std::to_string(trainer.steps()), "a finite loss",
                 "none; the checkpoint is from before, go on from it with a lower --rate");
        }
        sum.total += means.total;
        sum.pitch += means.pitch;
        sum.unvoiced += means.unvoiced;
        sum.confidence += means.confidence;
        sum.classes += means.classes;
        if (++counted == kLossSteps || trainer.steps() == options.steps) {
            const double n = counted;
            log.losses(trainer.steps(),
                       {sum.total / n, sum.pitch / n, sum.unvoiced / n, sum.confidence / n, sum.classes / n});
            sum = {};
            counted = 0;
            scores.poll();
        }
        if (std::chrono::steady_clock::now() - saved < std::chrono::seconds(options.checkpointSeconds)) continue;
        saved = std::chrono::steady_clock::now();
        trainer.save();
        scores.start(trainer.averaged(), trainer.steps());
    }
    trainer.save();
    scores.start(trainer.averaged(), trainer.steps());
    scores.finish();
}

}  // namespace

int main(int argc, char** argv) {
    startSafely();
    setEnvironment(argv);
    try {
        CLI::App app(kAbout, "katessel-train");
        train(parse(app, argc, argv));
        return 0;
    } catch (const ToolError& error) {
        printError(error.what());
        return error.status();
    } catch (const std::exception& error) {
        printError(error.what());
        return kStatusFailure;
    }
}
