// The training run: steps, checkpoints, scores, a log.
#ifndef KATESSEL_TRAINING_TRAINER_H
#define KATESSEL_TRAINING_TRAINER_H

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ExamplePool.h"
#include "Loss.h"
#include "Network.h"
#include "Optimizer.h"
#include "Scene.h"

namespace katessel::training {

// Which of the network's forms the weights are for.
enum class Forms { both, streaming, offline };

struct TrainingOptions {
    std::string recordings, noises, voices, scored;  // folders; empty: generated sound alone; no scores
    std::string out;                                 // folder of checkpoints, logs and weights
    std::string start;  // checkpoint or weight file to start from, with a schedule of its own
    std::int64_t steps = 33000;
    int threads = 2;
    int batch = 160;         // stretches per thread and step
    int stretch = 40;        // [frames] of which kReach are context
    int pool = 2500;         // scenes per thread
    int fresh = 2;           // new scenes per thread and step
    double rate = 3e-3;      // learning rate at its highest
    double width = 18.0;     // [cents] of the pitch loss at the end
    double average = 0.999;  // decay of the averaged weights
    double coarse = 0.0;     // part of the run, from its beginning, whose products are in bfloat16
    std::uint64_t seed = 1;
    Forms forms = Forms::both;
    OptimizerKind optimizer = OptimizerKind::soap;
    int checkpointSeconds = 300;
    std::string device = "cpu";
};

// The mean losses of some steps.
struct LossMeans {
    double total = 0.0, pitch = 0.0, unvoiced = 0.0, confidence = 0.0, classes = 0.0;
};

class Trainer {
public:
    // Renders the first scenes. Goes on from the checkpoint in the folder `out`, if there is one.
    Trainer(const TrainingOptions& options, const Sources& sources);

    // One step on all threads.
    LossMeans step();

    std::int64_t steps() const { return m_optimizer->steps; }
    const Network& network() const { return *m_network; }
    const Network& averaged() const { return *m_averaged; }  // the weights to use

    void save() const;

private:
    struct Worker {
        std::unique_ptr<ExamplePool> pool;
        std::vector<torch::Tensor> gradients;
        LossMeans losses;
    };

    std::string checkpointPath() const { return (std::filesystem::path(m_options.out) / "checkpoint.pt").string(); }
    void load(const std::string& path, bool everything);
    bool startsFromWeights() const;
    void buildPools(const std::string& model);
    void compute(std::size_t worker, std::int64_t number);
    void onAllThreads(const std::function<void(std::size_t)>& work);
    LossSchedule lossSchedule() const;
    double rate() const;
    double progress() const { return static_cast<double>(steps()) / static_cast<double>(m_options.steps); }

    TrainingOptions m_options;
    Sources m_sources;
    std::unique_ptr<Network> m_network, m_averaged;
    std::unique_ptr<Optimizer> m_optimizer;
    std::vector<Worker> m_workers;
};

}  // namespace katessel::training

#endif
