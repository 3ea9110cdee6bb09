#include "apps/batch/TrackPool.h"

#include <algorithm>
#include <deque>
#include <exception>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "apps/batch/Progress.h"
#include "apps/batch/RecordingProgress.h"
#include "apps/batch/TrackWorker.h"
#include "katessel/Globals.h"
#include "recordings/base/Errors.h"

namespace katessel {

namespace {

const std::string kWarning = "warning: ";

struct Outcome {
    bool isKnown = false;
    std::string problem;   // empty: there is a track
    std::string damage;    // what the track lacks, as a whole message; empty: nothing
    double seconds = 0.0;  // of sound
};

class TrackPool {
public:
    TrackPool(const std::vector<TrackJob>& jobs, const TrackSettings& settings, bool showProgress)
        : m_jobs(jobs),
          m_settings(settings),
          m_outcomes(jobs.size()),
          m_toDo(toDo(jobs)),
          m_progress(showProgress, 0.0) {}

    std::size_t run(int threads) {
        std::deque<TrackWorker> workers;
        for (int t = 0; t < threads; ++t) workers.emplace_back(m_settings);
        std::vector<std::thread> others;
        for (int t = 1; t < threads; ++t) {
            try {
                others.emplace_back([this, &worker = workers[static_cast<std::size_t>(t)]] { work(worker); });
            } catch (const std::system_error&) {
                break;  // there may be no more of them; the run only takes longer
            }
        }
        work(workers[0]);
        for (std::thread& other : others) other.join();
        m_progress.erase();
        return m_failures;
    }

private:
    static bool isToDo(const TrackJob& job) { return job.problem.empty() && !job.isDone; }

    static std::size_t toDo(const std::vector<TrackJob>& jobs) {
        return static_cast<std::size_t>(std::count_if(jobs.begin(), jobs.end(), &isToDo));
    }

    // One thread: job after job, until there are no more.
    void work(TrackWorker& worker) {
        for (std::size_t j; (j = takeNext()) < m_jobs.size();) finish(j, carryOut(m_jobs[j], worker));
    }

    std::size_t takeNext() {
        const std::lock_guard lock(m_lock);
        return m_next < m_jobs.size() ? m_next++ : m_next;
    }

    static Outcome carryOut(const TrackJob& job, TrackWorker& worker) {
        Outcome outcome;
        outcome.isKnown = true;
        outcome.problem = job.problem;
        if (!isToDo(job)) return outcome;
        try {
            outcome.seconds = worker.run(job, outcome.damage);
        } catch (const ToolError& error) {
            outcome.problem = error.what();
        } catch (const std::exception& error) {
            outcome.problem = errorMessage("cannot track the recording", job.input, "no surprise", error.what());
        }
        return outcome;
    }

    // Notes the outcome and reports all that come before those still unknown.
    void finish(std::size_t job, Outcome outcome) {
        const std::lock_guard lock(m_lock);
        m_outcomes[job] = std::move(outcome);
        if (isToDo(m_jobs[job])) showProgress(m_outcomes[job].seconds);
        for (; m_reported < m_next && m_outcomes[m_reported].isKnown; ++m_reported) {
            const auto& [isKnown, problem, damage, seconds] = m_outcomes[m_reported];
            if (problem.empty() && damage.empty()) continue;
            m_progress.erase();
            if (problem.empty()) {
                printError(kWarning + damage);
            } else {
                printError(problem);
                ++m_failures;
            }
        }
    }

    // One more is done, of so many seconds; 0 for one that could not be tracked.
    void showProgress(double seconds) {
        ++m_done;
        m_seconds += seconds;
        m_progress.advance(static_cast<double>(m_done) / static_cast<double>(m_toDo),
                           std::to_string(m_done) + " of " + std::to_string(m_toDo) + " recordings", m_seconds);
    }

    const std::vector<TrackJob>& m_jobs;
    const TrackSettings& m_settings;
    std::mutex m_lock;  // of all that follows
    std::vector<Outcome> m_outcomes;
    std::size_t m_toDo, m_done = 0;
    double m_seconds = 0.0;  // of sound that is done
    Progress m_progress;
    std::size_t m_next = 0, m_reported = 0, m_failures = 0;
};

}  // namespace

void runJob(const TrackJob& job, const TrackSettings& settings, bool showProgress) {
    std::string damage;
    {
        RecordingProgress progress(showProgress);
        TrackWorker(settings).run(job, damage, &progress);
    }
    if (!damage.empty()) printError(kWarning + damage);
}

std::size_t runJobs(const std::vector<TrackJob>& jobs, const TrackSettings& settings, int threads, bool showProgress) {
    KaTessel::performance_analysis_ = 0;  // nobody reads the sum: two clock readings a frame saved
    const std::size_t useful = std::clamp<std::size_t>(jobs.size(), 1, static_cast<std::size_t>(threads));
    return TrackPool(jobs, settings, showProgress).run(static_cast<int>(useful));
}

}  // namespace katessel
