#include "Trainer.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <exception>
#include <sstream>
#include <thread>
#include <utility>

#include "Checkpoint.h"
#include "WeightExport.h"
#include "recordings/base/Errors.h"

namespace katessel::training {

namespace fs = std::filesystem;

namespace {

using torch::Tensor;

constexpr double kWarmUp = 300.0, kWarmUpShare = 0.1;  // [steps], but not more than this part of the run
constexpr double kLastRate = 0.005;                    // of the highest
constexpr std::int64_t kClassesLearnFirst =
    400;  // [steps] before they teach, where they begin at random beside weights
constexpr double kJudgedFrom = 0.05, kJudgedFully = 0.35;  // part of the run: what the classes hear comes to count
constexpr double kFirstWidth = 60.0;                       // [cents]
constexpr char kScratchModel[] = "features.weights";

}  // namespace

Trainer::Trainer(const TrainingOptions& options, const Sources& sources) : m_options(options), m_sources(sources) {
    fs::create_directories(options.out);
    m_network = std::make_unique<Network>(options.seed, torch::zeros({kFeatures}), torch::ones({kFeatures}));
    m_optimizer = std::make_unique<Optimizer>(options.optimizer, m_network->parameters());
    const bool goOn = fs::exists(checkpointPath());
    m_averaged = std::make_unique<Network>(m_network->clone());
    const bool fromCheckpoint = goOn || (!options.start.empty() && !startsFromWeights());
    if (fromCheckpoint) load(goOn ? checkpointPath() : options.start, goOn);

    // The engine computes the features whatever its weights are, but it wants a weight file.
    const std::string model = (fs::path(options.out) / kScratchModel).string();
    exportWeights(*m_network, model);
    m_workers.resize(static_cast<std::size_t>(options.threads));
    buildPools(model);
    fs::remove(model);
    if (!fromCheckpoint) {
        Tensor mean, scale;
        m_workers[0].pool->statistics(mean, scale);
        m_network = std::make_unique<Network>(options.seed, mean, scale);
        if (startsFromWeights()) importWeights(options.start, *m_network);
        m_averaged = std::make_unique<Network>(m_network->clone());
    }
    m_network->to(options.device);
    m_averaged->to(options.device);
    for (Tensor& value : m_optimizer->state()) value = value.to(options.device);
}

bool Trainer::startsFromWeights() const { return fs::path(m_options.start).extension() == ".weights"; }

void Trainer::buildPools(const std::string& model) {
    onAllThreads([&](std::size_t worker) {
        // Every worker renders scenes of its own: numbers never meet, however long the run.
        const std::uint64_t seed = m_options.seed * 0x100000001b3ull + (static_cast<std::uint64_t>(worker) << 40);
        m_workers[worker].pool = std::make_unique<ExamplePool>(
            [this](int frames, Random& random) { return drawScene(m_sources, frames, random); }, model, seed,
            m_options.pool, steps() * m_options.fresh);
    });
}

// Runs the work once per worker, and throws what any of them threw.
void Trainer::onAllThreads(const std::function<void(std::size_t)>& work) {
    std::vector<std::exception_ptr> errors(m_workers.size());
    std::vector<std::thread> threads;
    for (std::size_t w = 0; w < m_workers.size(); ++w)
        threads.emplace_back([&, w] {
            try {
                work(w);
            } catch (...) {
                errors[w] = std::current_exception();
            }
        });
    for (std::thread& thread : threads) thread.join();
    for (const std::exception_ptr& error : errors)
        if (error) std::rethrow_exception(error);
}

double Trainer::rate() const {
    const double decay = kLastRate + (1.0 - kLastRate) * 0.5 * (1.0 + std::cos(M_PI * std::min(1.0, progress())));
    const double warmUp = std::min(kWarmUp, kWarmUpShare * static_cast<double>(m_options.steps));
    return m_options.rate * decay * std::min(1.0, (static_cast<double>(steps()) + 1.0) / warmUp);
}

LossSchedule Trainer::lossSchedule() const {
    LossSchedule schedule;
    const bool refining = !m_options.start.empty();
    const double narrowing = refining ? 1.0 : std::min(1.0, progress() / 0.5);
    schedule.pitchWidth = kFirstWidth * std::pow(m_options.width / kFirstWidth, narrowing);
    schedule.classesTeach = !startsFromWeights() || steps() >= kClassesLearnFirst;
    if (!refining || startsFromWeights())
        schedule.judged = std::clamp((progress() - kJudgedFrom) / (kJudgedFully - kJudgedFrom), 0.0, 1.0);
    return schedule;
}

void Trainer::compute(std::size_t index, std::int64_t number) {
    Worker& worker = m_workers[index];
    worker.pool->refresh(m_options.fresh);
    Random random(m_options.seed + static_cast<std::uint64_t>(number) * 7919ull +
                  (static_cast<std::uint64_t>(index) << 48));
    Batch batch = worker.pool->draw(m_options.stretch, m_options.batch, random);
    const Truth truth = {batch.truth.pitch.to(m_options.device), batch.truth.weight.to(m_options.device)};
    const bool wanted[2] = {m_options.forms != Forms::offline, m_options.forms != Forms::streaming};
    const double ownOffsets[2] = {kStreamingOffset, kOfflineOffset};
    FormOutput forms[2];
    m_network->forward(batch.features.to(m_options.device), wanted[0] ? &forms[0] : nullptr,
                       wanted[1] ? &forms[1] : nullptr);
    const LossSchedule schedule = lossSchedule();
    const double share = m_options.forms == Forms::both ? 0.5 : 1.0;
    Tensor total;
    worker.losses = {};
    for (int f = 0; f < 2; ++f) {
        if (!wanted[f]) continue;
        const LossParts parts =
            formLoss(*m_network, forms[f], share == 1.0 ? ownOffsets[f] : kJointOffset, truth, schedule);
        total = total.defined() ? total + parts.total : parts.total;
        worker.losses.total += share * parts.total.item<double>();
        worker.losses.pitch += share * parts.pitch.item<double>();
        worker.losses.unvoiced += share * parts.unvoiced.item<double>();
        worker.losses.confidence += share * parts.confidence.item<double>();
        worker.losses.classes += share * parts.classes.item<double>();
    }
    worker.gradients = torch::autograd::grad({total}, m_network->parameters(), {}, false, false, true);
}

LossMeans Trainer::step() {
    const std::int64_t number = steps();
    m_network->setCoarse(progress() < m_options.coarse);
    onAllThreads([&](std::size_t worker) { compute(worker, number); });

    const torch::NoGradGuard noGradients;
    const double share = 1.0 / static_cast<double>(m_workers.size());
    std::vector<Tensor> gradients = m_workers[0].gradients;
    for (std::size_t w = 1; w < m_workers.size(); ++w)
        for (std::size_t i = 0; i < gradients.size(); ++i)
            if (gradients[i].defined()) gradients[i] = gradients[i] + m_workers[w].gradients[i];
    for (Tensor& gradient : gradients)
        if (gradient.defined()) gradient = gradient * share;
    m_optimizer->step(m_network->parameters(), gradients, rate());

    const double keep =
        std::min(m_options.average, (1.0 + static_cast<double>(steps())) / (10.0 + static_cast<double>(steps())));
    for (std::size_t i = 0; i < m_averaged->parameters().size(); ++i)
        m_averaged->parameters()[i].mul_(keep).add_(m_network->parameters()[i], 1.0 - keep);

    LossMeans means;
    for (const Worker& worker : m_workers) {
        means.total += share * worker.losses.total;
        means.pitch += share * worker.losses.pitch;
        means.unvoiced += share * worker.losses.unvoiced;
        means.confidence += share * worker.losses.confidence;
        means.classes += share * worker.losses.classes;
    }
    return means;
}

void Trainer::save() const {
    torch::serialize::OutputArchive archive;
    for (std::size_t i = 0; i < m_network->parameters().size(); ++i) {
        const std::string number = std::to_string(i);
        archive.write("weights" + number, m_network->parameters()[i].detach());
        archive.write("averaged" + number, m_averaged->parameters()[i].detach());
    }
    for (std::size_t i = 0; i < m_optimizer->state().size(); ++i)
        archive.write("moment" + std::to_string(i), m_optimizer->state()[i]);
    archive.write("mean", m_network->mean());
    archive.write("scale", m_network->scale());
    archive.write("steps", torch::tensor(steps()));
    for (const Tensor& values : m_network->parameters())
        if (!torch::isfinite(values).all().item<bool>())
            fail("the training has failed", "step " + std::to_string(steps()), "finite weights",
                 "others; the checkpoint before stays");
    std::ostringstream bytes;
    archive.save_to(bytes);
    writeCheckpoint(checkpointPath(), bytes.str());
}

void Trainer::load(const std::string& path, bool everything) {
    if (!fs::exists(path)) fail("cannot go on", path, "a checkpoint", "none");
    torch::serialize::InputArchive archive;
    std::istringstream bytes(readCheckpoint(path));
    try {
        archive.load_from(bytes);
        const auto read = [&](const std::string& name) {
            Tensor value;
            archive.read(name, value);
            return value;
        };
        *m_network = Network(m_options.seed, read("mean"), read("scale"));
        *m_averaged = m_network->clone();
        const torch::NoGradGuard noGradients;
        for (std::size_t i = 0; i < m_network->parameters().size(); ++i) {
            const std::string number = std::to_string(i);
            m_averaged->parameters()[i].copy_(read("averaged" + number));
            m_network->parameters()[i].copy_(read((everything ? "weights" : "averaged") + number));
        }
        if (!everything) return;
        for (std::size_t i = 0; i < m_optimizer->state().size(); ++i)
            m_optimizer->state()[i].copy_(read("moment" + std::to_string(i)));
        m_optimizer->steps = read("steps").item<std::int64_t>();
    } catch (const c10::Error& error) {
        fail("cannot go on", path, "a checkpoint of this trainer", error.what_without_backtrace());
    }
}

}  // namespace katessel::training
