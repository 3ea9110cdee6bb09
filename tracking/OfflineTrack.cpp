#include "tracking/OfflineTrack.h"

#include <climits>
#include <cmath>
#include <utility>

#include "katessel/KTessel.h"
#include "recordings/audio/RateConversion.h"
#include "recordings/base/Errors.h"
#include "tracking/StreamPlan.h"

namespace katessel {

namespace {

constexpr int kMarginFrames = 8;         // silence on both sides, as far as the network's context and a window reach
constexpr int kResamplerDelay = 9;       // [samples at the recording's rate]
constexpr int kLargestRate = 240000;     // [Hz] that the engine's resampler takes

// Zeros before the recording that put its first sample on frame kMarginFrames, the resampler's delay taken out.
std::size_t leadSamples(int rate) {
    const double margin = kMarginFrames * kHopSeconds * rate - (rate == kEngineRate ? 0 : kResamplerDelay);
    return static_cast<std::size_t>(std::lround(std::max(margin, 0.0)));
}

}  // namespace

PitchTrack offlineTrack(Recording recording, const std::string& path, TrackEngine& engine) {
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

    void* const handle = engine.forRecordings(recording.rate);
    const int count = static_cast<int>(samples.size());
    const std::size_t room = static_cast<std::size_t>(KTessel_GetNumOutputFramesForInputSamples(count, handle)) + 1;
    std::vector<float> frequencies(room), confidences(room);
    const int frames = KTessel_DoProcessOffline(samples.data(), count, frequencies.data(), confidences.data(), 0, handle);

    PitchTrack track;
    for (int f = kMarginFrames; f < frames; ++f) {
        const double time = (f - kMarginFrames) * kHopSeconds;
        if (time >= seconds - 1e-9) break;  // instants carry rounding errors
        const std::size_t at = static_cast<std::size_t>(f);
        track.push_back({time, frequencies[at], confidences[at]});
    }
    return track;
}

PitchTrack offlineTrack(Recording recording, const std::string& path, const std::string& model) {
    TrackEngine engine(model);
    return offlineTrack(std::move(recording), path, engine);
}

}  // namespace katessel
