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

constexpr std::size_t kPiece = 4096;  // [samples] that are asked for at a time

constexpr std::int64_t kPartSeconds = 120;  // that a recording is analysed in

// A recording that is there already.
class MemoryStream : public SoundStream {
public:
    explicit MemoryStream(const Recording& recording) : m_recording(recording) {}

    int rate() const override { return m_recording.rate; }

    bool read(std::vector<float>& samples, std::size_t most) override {
        const auto from = m_recording.samples.begin() + m_at;
        const std::int64_t count = std::min(m_recording.length() - m_at, static_cast<std::int64_t>(most));
        samples.insert(samples.end(), from, from + count);
        m_at += count;
        return count > 0;
    }

private:
    const Recording& m_recording;
    std::int64_t m_at = 0;
};

// Reads until there are `length` samples, or all.
void fill(SoundStream& sound, std::vector<float>& samples, std::size_t length) {
    while (samples.size() < length && sound.read(samples, std::min(length - samples.size(), kPiece))) {
    }
}

}  // namespace

RecordingTracker::RecordingTracker(std::string model, TrackMode mode, std::optional<int> blockSize)
    : m_model(std::move(model)), m_mode(mode), m_blockSize(blockSize) {}

PitchTrack RecordingTracker::track(const Recording& recording, const std::string& path) {
    PitchTrack track;
    this->track(recording, path, [&](const PitchRow& row) { track.push_back(row); });
    return track;
}

void RecordingTracker::track(const Recording& recording, const std::string& path, const OnRow& onRow) {
    MemoryStream sound(recording);
    track(sound, path, onRow);
}

void RecordingTracker::track(SoundStream& sound, const std::string& path, const OnRow& onRow) {
    using KaTessel::Tracker;
    if (m_blockSize) return trackBlocks(sound, path, onRow);
    if (sound.rate() < Tracker::kLowestRate || sound.rate() > Tracker::kHighestRate)
        return trackConverted(sound, path, onRow);
    if (!m_tracker || m_tracker->rate() != sound.rate()) m_tracker.emplace(sound.rate(), m_model);
    m_mode == TrackMode::live ? trackLive(sound, onRow) : trackOffline(sound, onRow);
}

void RecordingTracker::trackConverted(SoundStream& sound, const std::string& path, const OnRow& onRow) {
    Recording recording;
    recording.rate = sound.rate();
    while (sound.read(recording.samples, kPiece)) {
    }
    const double end = recording.seconds() - kRounding;
    track(convertRate(recording, KaTessel::facts::kRate, path), path, [&](const PitchRow& row) {
        if (row.time < end) onRow(row);  // the converted sound may be longer by a part of a sample
    });
}

void RecordingTracker::trackLive(SoundStream& sound, const OnRow& onRow) {
    const auto add = [&](const KaTessel::Pitch& pitch) { onRow({pitch.time, pitch.frequency, pitch.confidence}); };
    m_tracker->reset();
    std::vector<float> piece;
    for (; sound.read(piece, kPiece); piece.clear()) m_tracker->process(piece, add);
    m_tracker->finish(add);
}

void RecordingTracker::trackOffline(SoundStream& sound, const OnRow& onRow) {
    analyseInParts(
        *m_tracker, kPartSeconds,
        [&](std::vector<float>& samples, std::size_t length) { fill(sound, samples, length); },
        [&](const KaTessel::Pitch& pitch) {
            onRow({pitch.time, pitch.frequency, pitch.confidence});
        });
}

// Zeros, the sound, and zeros until a frame is about an instant past the end.
void RecordingTracker::trackBlocks(SoundStream& sound, const std::string& path, const OnRow& onRow) const {
    const int rate = sound.rate(), size = *m_blockSize;
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
    const auto length = static_cast<std::size_t>(size);
    std::vector<float> waiting(static_cast<std::size_t>(stream.leadSamples()));  // for the next blocks
    std::size_t received = 0;                                                    // [samples] of the sound
    for (std::int64_t passed = 0;; ++passed) {
        const std::size_t before = waiting.size();
        fill(sound, waiting, length);
        received += waiting.size() - before;
        const bool hasEnded = waiting.size() < length;
        waiting.resize(std::max(waiting.size(), length));
        PitchRow row;
        KTessel_DoProcess(waiting.data(), size, &row.frequency, &row.confidence, 0, engine.get());
        waiting.erase(waiting.begin(), waiting.begin() + size);
        const std::int64_t frames = stream.framesAfter(passed + 1);
        if (frames == stream.framesAfter(passed)) continue;
        row.time = stream.instantOf(frames - 1);
        row.confidence = std::min(row.confidence, 1.0f);
        if (hasEnded && row.time >= static_cast<double>(received) / rate - kRounding) return;
        if (row.time >= 0.0) onRow(row);
    }
}

}  // namespace katessel
