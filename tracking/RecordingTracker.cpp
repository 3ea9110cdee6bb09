#include "tracking/RecordingTracker.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "katessel/KTessel.h"
#include "recordings/base/Errors.h"
#include "tracking/AnalysisParts.h"
#include "tracking/BlockStream.h"

namespace katessel {

namespace {

constexpr double kRounding = 1e-9;  // [s] that instants may be off

constexpr std::int64_t kPartSeconds = 600;  // that a recording is analysed in

// One block of the stream: zeros, the recording, zeros without end. `first` is the block's first sample,
// counted from the recording's start.
void fillBlock(const Recording& recording, std::int64_t first, std::vector<float>& block) {
    const std::int64_t size = static_cast<std::int64_t>(block.size());
    const std::int64_t from = std::clamp<std::int64_t>(first, 0, recording.length());
    const std::int64_t to = std::clamp<std::int64_t>(first + size, 0, recording.length());
    std::fill(block.begin(), block.end(), 0.0f);
    if (from < to)
        std::copy(recording.samples.begin() + from, recording.samples.begin() + to, block.begin() + (from - first));
}

}  // namespace

RecordingTracker::RecordingTracker(std::string model, TrackMode mode, std::optional<int> blockSize)
    : m_model(std::move(model)), m_mode(mode), m_blockSize(blockSize) {}

PitchTrack RecordingTracker::track(const Recording& recording, const std::string& path) {
    if (m_blockSize) return trackBlocks(recording, path);
    using KaTessel::Tracker;
    if (recording.rate >= Tracker::kLowestRate && recording.rate <= Tracker::kHighestRate)
        return trackAtItsRate(recording);
    PitchTrack track = trackAtItsRate(convertRate(recording, KaTessel::facts::kRate, path));
    // The converted sound may be longer by a part of a sample.
    while (!track.empty() && track.back().time >= recording.seconds() - kRounding) track.pop_back();
    return track;
}

PitchTrack RecordingTracker::trackAtItsRate(const Recording& recording) {
    if (!m_tracker || m_tracker->rate() != recording.rate) m_tracker.emplace(recording.rate, m_model);
    PitchTrack track;
    const auto add = [&](const KaTessel::Pitch& pitch) {
        track.push_back({pitch.time, pitch.frequency, pitch.confidence});
    };
    if (m_mode == TrackMode::live) {
        m_tracker->process(recording.samples, add);
        m_tracker->finish(add);
    } else {
        analyseInParts(*m_tracker, recording.samples.data(), recording.length(), kPartSeconds, add);
    }
    return track;
}

// Streams until a frame is about an instant past the end.
PitchTrack RecordingTracker::trackBlocks(const Recording& recording, const std::string& path) const {
    const int rate = recording.rate, size = *m_blockSize;
    const int smallest = BlockStream::smallestBlock(rate), largest = BlockStream::largestBlock(rate);
    const std::string where = path + " at " + std::to_string(rate) + " Hz";
    if (largest < smallest) failUsage("wrong block size", where, "no block size at this rate", std::to_string(size));
    if (size < smallest || size > largest)
        failUsage("wrong block size", where, std::to_string(smallest) + " to " + std::to_string(largest) + " samples",
                  std::to_string(size));

    const BlockStream stream(rate, size);
    const std::unique_ptr<void, void (*)(void*)> engine(KTessel_Create(), &KTessel_Destroy);
    if (KTessel_Configure(rate, 0, size, m_model.c_str(), engine.get()) != 0)
        fail("cannot load the model", m_model, "a weight file", "none");
    std::vector<float> block(static_cast<std::size_t>(size));
    PitchTrack track;
    for (std::int64_t passed = 0;; ++passed) {
        fillBlock(recording, passed * size - stream.leadSamples(), block);
        PitchRow row;
        KTessel_DoProcess(block.data(), size, &row.frequency, &row.confidence, 0, engine.get());
        const std::int64_t frames = stream.framesAfter(passed + 1);
        if (frames == stream.framesAfter(passed)) continue;
        row.time = stream.instantOf(frames - 1);
        row.confidence = std::min(row.confidence, 1.0f);
        if (row.time >= recording.seconds() - kRounding) return track;
        if (row.time >= 0.0) track.push_back(row);
    }
}

}  // namespace katessel
