#include "AudioFile.h"

#include <sndfile.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>

#include "Errors.h"

namespace {

constexpr char kCannotRead[] = "cannot read the recording";
constexpr int kChunk = 4096;            // [frames] per read
constexpr int kMostFramesPerByte = 64;  // of any compression; more is a wrong header
constexpr float kLargestSample = 1e6f;  // far above any scale in use; powers of it still fit in a float

using SoundFile = std::unique_ptr<SNDFILE, int (*)(SNDFILE*)>;

// What libsndfile itself reports less clearly. Opening tells more than asking for permissions would.
void checkReadable(const std::string& path) {
    if (std::filesystem::is_directory(path)) fail(kCannotRead, path, "an audio file", "a folder");
    if (std::filesystem::is_fifo(path)) fail(kCannotRead, path, "an audio file", "a pipe");
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
    if (!file) fail(kCannotRead, path, "an audio file", std::strerror(errno));
}

float mixFrame(const float* frame, int channels) {
    float sum = 0.0f;
    for (int c = 0; c < channels; ++c) sum += frame[c];
    return sum / static_cast<float>(channels);
}

void checkSample(float sample, const std::string& path, std::size_t index, int rate) {
    if (std::fabs(sample) <= kLargestSample) return;
    fail(kCannotRead, path, "samples within +-" + shortNumber(kLargestSample),
         shortNumber(sample) + " at " + shortNumber(static_cast<double>(index) / rate) + " s");
}

}  // namespace

Recording readRecording(const std::string& path) {
    checkReadable(path);
    SF_INFO info = {};
    const SoundFile file(sf_open(path.c_str(), SFM_READ, &info), &sf_close);
    if (!file) fail(kCannotRead, path, "a known audio format", sf_strerror(nullptr));
    if (info.samplerate < 1) fail(kCannotRead, path, "a sample rate above 0", std::to_string(info.samplerate));

    // The length in a header may be wrong, so the samples are counted as they come. It serves to ask for the memory
    // once, with some room for the silence that an analysis puts around them.
    Recording recording;
    recording.rate = info.samplerate;
    std::error_code unknownSize;
    const std::uintmax_t plausible = std::filesystem::file_size(path, unknownSize) * kMostFramesPerByte;
    if (!unknownSize && info.frames > 0 && static_cast<std::uintmax_t>(info.frames) <= plausible)
        recording.samples.reserve(static_cast<std::size_t>(info.frames) + static_cast<std::size_t>(info.samplerate) / 4);
    std::vector<float> chunk(static_cast<std::size_t>(kChunk) * static_cast<std::size_t>(info.channels));
    while (const sf_count_t frames = sf_readf_float(file.get(), chunk.data(), kChunk)) {
        for (sf_count_t i = 0; i < frames; ++i) {
            const float sample = mixFrame(chunk.data() + i * info.channels, info.channels);
            checkSample(sample, path, recording.samples.size(), recording.rate);
            recording.samples.push_back(sample);
        }
    }
    if (sf_error(file.get()) != SF_ERR_NO_ERROR)
        fail(kCannotRead, path, "sound up to its end", sf_strerror(file.get()));
    if (recording.samples.empty()) fail(kCannotRead, path, "at least 1 sample", "0 samples");
    return recording;
}
