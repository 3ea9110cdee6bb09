#include "tracking/RecordingTracker.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

#include "katessel/KTessel.h"
#include "recordings/base/Errors.h"
#include "tracking/StreamPlan.h"

namespace katessel {

namespace {

constexpr int kMarginFrames = 8;      // silence on both sides, as far as the network's context and a window reach
constexpr int kResamplerDelay = 9;    // [samples at the recording's rate]
constexpr int kLargestRate = 240000;  // [Hz] that the engine's resampler takes
constexpr double kRounding = 1e-9;    // [s] that instants may be off

// Zeros before the recording that put its first sample on frame kMarginFrames, the resampler's delay taken out.
std::size_t leadSamples(int rate) {
    const double margin = kMarginFrames * kHopSeconds * rate - (rate == kEngineRate ? 0 : kResamplerDelay);
    return static_cast<std::size_t>(std::lround(std::max(margin, 0.0)));
}

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
    : m_model(std::move(model)), m_mode(mode), m_blockSize(blockSize), m_engine(KTessel_Create(), &KTessel_Destroy) {}

PitchTrack RecordingTracker::track(Recording recording, const std::string& path) {
    if (m_blockSize) return trackBlocks(recording, path);
    return m_mode == TrackMode::live ? trackStream(recording, path) : trackWhole(std::move(recording), path);
}

PitchTrack RecordingTracker::trackWhole(Recording recording, const std::string& path) {
    const double seconds = recording.seconds();
    if (recording.rate > kLargestRate) recording = convertRate(recording, kEngineRate, path);
    std::vector<float>& samples = recording.samples;
    const std::size_t lead = leadSamples(recording.rate);
    const std::size_t tail = static_cast<std::size_t>((kMarginFrames + 1) * kHopSeconds * recording.rate) + 1;
    if (samples.size() > static_cast<std::size_t>(INT_MAX) - lead - tail)
        fail("cannot track the recording", path, "fewer than " + std::to_string(INT_MAX) + " samples",
             std::to_string(samples.size()));
    samples.insert(samples.begin(), lead, 0.0f);
    samples.insert(samples.end(), tail, 0.0f);

    if (m_rate != recording.rate) configure(recording.rate, 1);
    const int count = static_cast<int>(samples.size());
    const std::size_t room = static_cast<std::size_t>(KTessel_GetNumOutputFramesForInputSamples(count, m_engine.get())) + 1;
    std::vector<float> frequencies(room), confidences(room);
    const int frames =
        KTessel_DoProcessOffline(samples.data(), count, frequencies.data(), confidences.data(), 0, m_engine.get());

    PitchTrack track;
    for (int f = kMarginFrames; f < frames; ++f) {
        const double time = (f - kMarginFrames) * kHopSeconds;
        if (time >= seconds - kRounding) break;
        const std::size_t at = static_cast<std::size_t>(f);
        track.push_back({time, frequencies[at], confidences[at]});
    }
    return track;
}

PitchTrack RecordingTracker::trackStream(const Recording& recording, const std::string& path) {
    const double seconds = recording.seconds();
    if (StreamPlan::streamsWhole(recording.rate))
        return stream(recording, seconds, StreamPlan::forGrid(recording.rate));
    return stream(convertRate(recording, kEngineRate, path), seconds, StreamPlan::forGrid(kEngineRate));
}

PitchTrack RecordingTracker::trackBlocks(const Recording& recording, const std::string& path) {
    const int size = *m_blockSize;
    const int smallest = StreamPlan::smallestBlock(recording.rate), largest = StreamPlan::largestBlock(recording.rate);
    const std::string where = path + " at " + std::to_string(recording.rate) + " Hz";
    if (largest < smallest) failUsage("wrong block size", where, "no block size at this rate", std::to_string(size));
    if (size < smallest || size > largest)
        failUsage("wrong block size", where, std::to_string(smallest) + " to " + std::to_string(largest) + " samples",
                  std::to_string(size));
    return stream(recording, recording.seconds(), StreamPlan::forHostBlocks(recording.rate, size));
}

// Streams until a frame is about an instant past the end.
PitchTrack RecordingTracker::stream(const Recording& recording, double seconds, const StreamPlan& plan) {
    configure(plan.rate(), plan.blockSize());
    std::vector<float> block(static_cast<std::size_t>(plan.blockSize()));
    PitchTrack track;
    for (std::int64_t passed = 0;; ++passed) {
        fillBlock(recording, passed * plan.blockSize() - plan.leadSamples(), block);
        PitchRow row;
        KTessel_DoProcess(block.data(), plan.blockSize(), &row.frequency, &row.confidence, 0, m_engine.get());
        const std::int64_t frames = plan.framesAfter(passed + 1);
        if (frames == plan.framesAfter(passed)) continue;
        row.time = plan.instantOf(frames - 1);
        if (row.time >= seconds - kRounding) return track;
        if (row.time >= 0.0) track.push_back(row);
    }
}

// Begins anew: nothing that was heard before is left.
void RecordingTracker::configure(int rate, int blockSize) {
    m_rate = 0;
    if (KTessel_Configure(rate, 0, blockSize, m_model.c_str(), m_engine.get()) != 0)
        fail("cannot load the model", m_model, "a weight file", "none");
    m_rate = rate;
}

}  // namespace katessel
