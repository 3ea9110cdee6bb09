// The scores of weights while the training of them goes on.
#ifndef KATESSEL_TRAINING_BACKGROUNDSCORES_H
#define KATESSEL_TRAINING_BACKGROUNDSCORES_H

#include <cstdint>
#include <future>
#include <vector>

#include "RunLog.h"
#include "Trainer.h"

namespace katessel::training {

// Writes the weights that stand for a run, and scores them on the options' recordings, if there are any.
class BackgroundScores {
public:
    BackgroundScores(const TrainingOptions& options, RunLog& log) : m_options(options), m_log(log) {}

    void start(const Network& network, std::int64_t step);
    // Writes down what has been scored, if anything has.
    void poll();
    // The same, waiting for it.
    void finish();

private:
    const TrainingOptions& m_options;
    RunLog& m_log;
    std::future<std::vector<ScoredGroup>> m_running;
    std::int64_t m_step = 0;
};

}  // namespace katessel::training

#endif
