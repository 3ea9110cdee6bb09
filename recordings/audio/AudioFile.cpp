#include "recordings/audio/AudioFile.h"

#include <samplerate.h>

#include <algorithm>
#include <cmath>

#include "recordings/base/Errors.h"
#include "recordings/base/Text.h"

namespace katessel {

namespace {

constexpr int kChunk = 4096;            // [frames] per read
constexpr float kLargestSample = 1e6f;  // far above any scale in use; powers of it still fit in a float

// Downmix: of the samples of all channels at an instant, the chosen one or the average.
class ChannelChoice {
public:
    ChannelChoice(const std::string& path, const std::optional<int>& channel, int channels)
        : m_channels(channels), m_chosen(channel.value_or(0) - 1) {
        if (m_chosen >= channels)
            fail(kCannotRead, path, "channel " + std::to_string(*channel),
                 std::to_string(channels) + (channels == 1 ? " channel" : " channels"));
    }

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

void checkSample(float sample, const std::string& path, std::int64_t index, int rate) {
    if (std::fabs(sample) <= kLargestSample) return;
    fail(kCannotRead, path, "samples within +-" + shortNumber(kLargestSample),
         shortNumber(sample) + " at " + shortNumber(static_cast<double>(index) / rate) + " s");
}

void noteDamage(const SoundSource& source, const SoundSelection& selection, const std::string& path,
                Recording& recording) {
    const std::optional<Damage> damage = source.damage();
    if (!damage) return;
    refuseDamage(*damage, path, selection.allowDamaged);
    recording.damage = errorMessage(kDamaged, path, damage->expected, damage->found);
}

// The frame at an instant [s], which may be infinite.
std::int64_t frameAt(double seconds, int rate) {
    return static_cast<std::int64_t>(std::min(std::round(seconds * rate), 1e18));
}

// Skips `frames` frames, or up to the end.
void skip(SoundSource& source, std::int64_t frames, std::vector<float>& chunk) {
    if (frames == 0 || source.seek(frames)) return;
    while (frames > 0) {
        const int read = source.read(chunk.data(), static_cast<int>(std::min<std::int64_t>(frames, kChunk)));
        if (read == 0) return;
        frames -= read;
    }
}

}  // namespace

Recording readRecording(const std::string& path, const SoundSelection& selection) {
    const std::unique_ptr<SoundSource> source = openSound(path, selection.raw, selection.allowDamaged);
    const int channels = source->channels();
    Recording recording;
    const ChannelChoice sampleOf(path, selection.channel, channels);
    recording.rate = source->rate();
    const std::int64_t from = frameAt(selection.from, recording.rate), to = frameAt(selection.to, recording.rate);

    // The length in a header may be wrong, so the samples are counted as they come. It serves to ask for the memory
    // once, with some room for the silence that an analysis puts around them.
    const std::int64_t expected = std::min(source->expectedFrames(), to) - from;
    if (expected > 0) recording.samples.reserve(static_cast<std::size_t>(expected + recording.rate / 4));
    std::vector<float> chunk(static_cast<std::size_t>(kChunk) * static_cast<std::size_t>(channels));
    skip(*source, from, chunk);
    for (std::int64_t at = from; at < to;) {
        const int frames = source->read(chunk.data(), static_cast<int>(std::min<std::int64_t>(to - at, kChunk)));
        if (frames == 0) break;
        for (int i = 0; i < frames; ++i, ++at) {
            const float sample = sampleOf(chunk.data() + static_cast<std::ptrdiff_t>(i) * channels);
            checkSample(sample, path, at, recording.rate);
            recording.samples.push_back(sample);
        }
    }
    noteDamage(*source, selection, path, recording);
    if (recording.samples.empty() && from == 0) fail(kCannotRead, path, "at least 1 sample", "0 samples");
    return recording;
}

Recording convertRate(const Recording& recording, int rate, const std::string& path) {
    const double ratio = static_cast<double>(rate) / recording.rate;
    if (src_is_valid_ratio(ratio) == 0)
        fail("cannot convert the recording", path, "a sample rate of 94 to 6144000 Hz",
             std::to_string(recording.rate) + " Hz");

    Recording converted;
    converted.rate = rate;
    converted.samples.resize(static_cast<std::size_t>(std::ceil(static_cast<double>(recording.length()) * ratio)));
    SRC_DATA job = {};
    job.data_in = recording.samples.data();
    job.input_frames = static_cast<long>(recording.length());
    job.data_out = converted.samples.data();
    job.output_frames = static_cast<long>(converted.length());
    job.src_ratio = ratio;
    const int error = src_simple(&job, SRC_SINC_BEST_QUALITY, 1);
    if (error != 0) fail("cannot convert the recording", path, std::to_string(rate) + " Hz", src_strerror(error));
    converted.samples.resize(static_cast<std::size_t>(job.output_frames_gen));
    return converted;
}

}  // namespace katessel
