#include "BackgroundScores.h"

#include <chrono>
#include <filesystem>

#include "WeightExport.h"
#include "recordings/base/Errors.h"
#include "recordings/scoring/FolderScores.h"
#include "tracking/RecordingTracker.h"

namespace katessel::training {

namespace {

constexpr double kScoredThreshold = 0.4;  // at which F1 is highest over all conditions

}  // namespace

void BackgroundScores::start(const Network& network, std::int64_t step) {
    const std::string weights = (std::filesystem::path(m_options.out) / "current.weights").string();
    exportWeights(network, weights);
    if (m_options.scored.empty()) return;
    finish();
    m_step = step;
    m_running = std::async(std::launch::async, [this, weights] {
        RecordingTracker tracker(weights, TrackMode::offline);
        const auto track = [&](const std::string& recording, std::size_t) {
            return tracker.track(readRecording(recording), recording);
        };
        return scoreFolder(m_options.scored, kScoredThreshold, track, [](const std::string& message) {
            throw ToolError(message, kStatusFailure);  // figures of fewer recordings would not be comparable
        });
    });
}

void BackgroundScores::poll() {
    if (m_running.valid() && m_running.wait_for(std::chrono::seconds(0)) == std::future_status::ready) finish();
}

void BackgroundScores::finish() {
    if (m_running.valid()) m_log.scores(m_step, "offline", m_running.get());
}

}  // namespace katessel::training
