// What a run writes down: losses and scores as CSV, and a line that says how far it is.
#ifndef KATESSEL_TRAINING_RUNLOG_H
#define KATESSEL_TRAINING_RUNLOG_H

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "Trainer.h"
#include "recordings/scoring/ScoreReport.h"

namespace katessel::training {

class RunLog {
public:
    // Goes on with the files of an earlier run in the same folder, or begins them.
    RunLog(const std::string& folder, std::int64_t firstStep, std::int64_t steps);

    void losses(std::int64_t step, const LossMeans& means);
    void scores(std::int64_t step, const std::string& form, const std::vector<ScoredGroup>& groups);

private:
    void progress(std::int64_t step, const LossMeans& means);

    std::string m_losses, m_scores;
    std::int64_t m_first, m_steps;
    std::chrono::steady_clock::time_point m_start, m_printed;
    bool m_terminal;
};

}  // namespace katessel::training

#endif
