// Recordings: any file that libsndfile reads, as one channel.
#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "recordings/audio/SoundSource.h"
#include "recordings/base/OnProgress.h"

namespace katessel {

struct Recording {
    int rate = 0;                // [Hz]
    std::vector<float> samples;  // mono, nominally -1 .. 1
    std::string damage;          // why it is not whole, as a whole message; empty: nothing known

    std::int64_t length() const { return static_cast<std::int64_t>(samples.size()); }
    double seconds() const { return static_cast<double>(samples.size()) / rate; }
};

// Downmix: of the samples of all channels at an instant, the chosen one or the average.
class ChannelChoice {
public:
    // `channel` counts from 1 on; none: the average. Fails where the recording at `path` has fewer.
    ChannelChoice(const std::string& path, const std::optional<int>& channel, int channels);

    float operator()(const float* frame) const {
        if (m_chosen >= 0) return frame[m_chosen];
        float sum = 0.0f;
        for (int c = 0; c < m_channels; ++c) sum += frame[c];
        return sum / static_cast<float>(m_channels);
    }

private:
    int m_channels;
    int m_chosen;  // from 0 on; -1: the average
};

// What to take of a recording.
struct SoundSelection {
    std::optional<int> channel;  // from 1 on; none: the average of all
    double from = 0.0;           // [s]
    double to = std::numeric_limits<double>::infinity();
    std::optional<RawForm> raw;  // none: the file says itself what it is
    bool allowDamaged = false;   // take what there is of a file that is cut off
};

// One channel of sound that comes piece by piece.
class SoundStream {
public:
    virtual ~SoundStream() = default;

    virtual int rate() const = 0;  // [Hz]

    // Appends the next samples, nominally -1 .. 1, at most `most` of them. Returns false at the end.
    virtual bool read(std::vector<float>& samples, std::size_t most) = 0;
};

// What is selected of a recording, while it is read; nothing where the recording ends before. Fails when there is no such
// file, when its format is unknown or broken, when it is damaged (unless that is allowed, and nothing is missing before its
// end), when it holds no samples, and when a sample is not a number or absurdly large: one such sample would poison the
// estimates around it without a trace in the output. Some of that shows at the end only. The path "-" is standard input.
class RecordingStream : public SoundStream {
public:
    explicit RecordingStream(const std::string& path, const SoundSelection& selection = {});

    int rate() const override { return m_source->rate(); }
    bool read(std::vector<float>& samples, std::size_t most) override;

    // How many samples there seem to be; 0 or less: unknown.
    std::int64_t expectedLength() const;
    double expectedSeconds() const { return static_cast<double>(expectedLength()) / rate(); }

    // At the end: how much was read [s], and what it lacks, as a whole message; empty: nothing known.
    double seconds() const { return static_cast<double>(m_at - m_from) / rate(); }
    const std::string& damage() const { return m_damage; }

private:
    void skip(std::int64_t frames);
    void checkSamples(const float* samples, int count) const;
    void finish();

    std::string m_path;
    std::unique_ptr<SoundSource> m_source;
    ChannelChoice m_sampleOf;
    bool m_allowDamaged;
    std::int64_t m_from, m_to, m_at;  // [frames] in the recording
    std::vector<float> m_chunk;       // of all channels
    std::string m_damage;
};

// All of it at once.
Recording readRecording(RecordingStream& stream, const OnProgress& onProgress = {});
Recording readRecording(const std::string& path, const SoundSelection& selection = {});

// The same sound at `rate` [Hz], aligned in time with the original: for rates that the engine cannot stream without
// losing samples. `path` is named when it fails.
Recording convertRate(const Recording& recording, int rate, const std::string& path);

}  // namespace katessel
