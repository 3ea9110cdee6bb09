#include "recordings/audio/AudioFile.h"

#include <samplerate.h>
#include <sys/mman.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "recordings/base/Errors.h"
#include "recordings/base/Text.h"

namespace katessel {

namespace {

constexpr int kChunk = 4096;            // [frames] per read
constexpr float kLargestSample = 1e6f;  // far above any scale in use; powers of it still fit in a float

// Large pages where the system has them: handing out small ones takes as long as the reading.
void reserve(std::vector<float>& samples, std::size_t count) {
    constexpr std::uintptr_t kPage = 2 << 20;  // [bytes]
    samples.reserve(count);
    const std::uintptr_t begin = (reinterpret_cast<std::uintptr_t>(samples.data()) + kPage - 1) / kPage * kPage;
    const std::uintptr_t end = reinterpret_cast<std::uintptr_t>(samples.data() + count) / kPage * kPage;
    if (begin < end) ::madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
}

// The frame at an instant [s], which may be infinite.
std::int64_t frameAt(double seconds, int rate) {
    return static_cast<std::int64_t>(std::min(std::round(seconds * rate), 1e18));
}

}  // namespace

ChannelChoice::ChannelChoice(const std::string& path, const std::optional<int>& channel, int channels)
    : m_channels(channels), m_chosen(channel.value_or(0) - 1) {
    if (m_chosen >= channels)
        fail(kCannotRead, path, "channel " + std::to_string(*channel),
             std::to_string(channels) + (channels == 1 ? " channel" : " channels"));
}

RecordingStream::RecordingStream(const std::string& path, const SoundSelection& selection)
    : m_path(path),
      m_source(openSound(path, selection.raw, selection.allowDamaged)),
      m_sampleOf(path, selection.channel, m_source->channels()),
      m_allowDamaged(selection.allowDamaged),
      m_from(frameAt(selection.from, rate())),
      m_to(frameAt(selection.to, rate())),
      m_at(m_from),
      m_chunk(static_cast<std::size_t>(kChunk) * static_cast<std::size_t>(m_source->channels())) {
    skip(m_from);
}

// The length in a header may be wrong, so the samples are counted as they come.
std::int64_t RecordingStream::expectedLength() const { return std::min(m_source->expectedFrames(), m_to) - m_from; }

// Up to the end where there are fewer.
void RecordingStream::skip(std::int64_t frames) {
    if (frames == 0 || m_source->seek(frames)) return;
    while (frames > 0) {
        const int read = m_source->read(m_chunk.data(), static_cast<int>(std::min<std::int64_t>(frames, kChunk)));
        if (read == 0) return;
        frames -= read;
    }
}

bool RecordingStream::read(std::vector<float>& samples, std::size_t most) {
    const std::int64_t wanted = std::min({m_to - m_at, static_cast<std::int64_t>(most), std::int64_t{kChunk}});
    const std::size_t before = samples.size();
    samples.resize(before + static_cast<std::size_t>(wanted));
    const int channels = m_source->channels();
    float* const mono = samples.data() + before;
    float* const all = channels == 1 ? mono : m_chunk.data();
    const int frames = wanted > 0 ? m_source->read(all, static_cast<int>(wanted)) : 0;
    if (channels > 1)
        for (std::ptrdiff_t i = 0; i < frames; ++i) mono[i] = m_sampleOf(all + i * channels);
    samples.resize(before + static_cast<std::size_t>(frames));
    checkSamples(mono, frames);
    m_at += frames;
    if (frames == 0) finish();
    return frames > 0;
}

void RecordingStream::checkSamples(const float* samples, int count) const {
    const float* const bad =
        std::find_if(samples, samples + count, [](float sample) { return !(std::fabs(sample) <= kLargestSample); });
    if (bad == samples + count) return;
    fail(kCannotRead, m_path, "samples within +-" + shortNumber(kLargestSample),
         shortNumber(*bad) + " at " + shortNumber(static_cast<double>(m_at + (bad - samples)) / rate()) + " s");
}

void RecordingStream::finish() {
    if (const std::optional<Damage> damage = m_source->damage()) {
        refuseDamage(*damage, m_path, m_allowDamaged);
        m_damage = errorMessage(kDamaged, m_path, damage->expected, damage->found);
    }
    if (m_at == 0) fail(kCannotRead, m_path, "at least 1 sample", "0 samples");
}

Recording readRecording(const std::string& path, const SoundSelection& selection) {
    RecordingStream stream(path, selection);
    return readRecording(stream);
}

Recording readRecording(RecordingStream& stream, const OnProgress& onProgress) {
    Recording recording;
    recording.rate = stream.rate();
    // Asks for the memory once, with some room for the silence that an analysis puts around the sound.
    const std::int64_t expected = stream.expectedLength();
    if (expected > 0) reserve(recording.samples, static_cast<std::size_t>(expected + recording.rate / 4));
    while (stream.read(recording.samples, kChunk))
        if (onProgress) onProgress(recording.seconds());
    recording.damage = stream.damage();
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
