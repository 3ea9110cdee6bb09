#include "tracking/StreamTrack.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "katessel/KTessel.h"
#include "recordings/audio/RateConversion.h"
#include "recordings/base/Errors.h"
#include "tracking/StreamPlan.h"

namespace katessel {

namespace {

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

// Streams until a frame is about an instant past the end.
PitchTrack stream(const Recording& recording, double seconds, const StreamPlan& plan, TrackEngine& engine) {
    void* const handle = engine.forStream(plan.rate(), plan.blockSize());
    const double end = seconds - 1e-9;  // instants carry rounding errors
    std::vector<float> block(static_cast<std::size_t>(plan.blockSize()));
    PitchTrack track;
    for (std::int64_t passed = 0;; ++passed) {
        fillBlock(recording, passed * plan.blockSize() - plan.leadSamples(), block);
        PitchRow row;
        KTessel_DoProcess(block.data(), plan.blockSize(), &row.frequency, &row.confidence, 0, handle);
        const std::int64_t frames = plan.framesAfter(passed + 1);
        if (frames == plan.framesAfter(passed)) continue;
        row.time = plan.instantOf(frames - 1);
        if (row.time >= end) return track;
        if (row.time >= 0.0) track.push_back(row);
    }
}

}  // namespace

PitchTrack streamTrack(const Recording& recording, const std::string& path, TrackEngine& engine) {
    const double seconds = recording.seconds();
    if (StreamPlan::streamsWhole(recording.rate))
        return stream(recording, seconds, StreamPlan::forGrid(recording.rate), engine);
    const Recording converted = convertRate(recording, kEngineRate, path);
    return stream(converted, seconds, StreamPlan::forGrid(kEngineRate), engine);
}

PitchTrack streamTrack(const Recording& recording, const std::string& path, const std::string& model) {
    TrackEngine engine(model);
    return streamTrack(recording, path, engine);
}

PitchTrack streamTrackInBlocks(const Recording& recording, const std::string& path, TrackEngine& engine, int blockSize) {
    const int smallest = StreamPlan::smallestBlock(recording.rate);
    const int largest = StreamPlan::largestBlock(recording.rate);
    const std::string where = path + " at " + std::to_string(recording.rate) + " Hz";
    if (largest < smallest)
        failUsage("wrong block size", where, "no block size at this rate", std::to_string(blockSize));
    if (blockSize < smallest || blockSize > largest)
        failUsage("wrong block size", where, std::to_string(smallest) + " to " + std::to_string(largest) + " samples",
                  std::to_string(blockSize));
    return stream(recording, recording.seconds(), StreamPlan::forHostBlocks(recording.rate, blockSize), engine);
}

}  // namespace katessel
