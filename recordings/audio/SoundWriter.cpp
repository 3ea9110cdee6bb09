#include "recordings/audio/SoundWriter.h"

#include <filesystem>
#include <memory>
#include <utility>

#include "recordings/audio/MemoryFile.h"
#include "recordings/base/Errors.h"
#include "recordings/base/Text.h"

namespace katessel {

namespace {

constexpr double kMostBytes = 4.0e9;  // of a WAV file, a little below what its lengths can say

int formatOf(const std::string& path) {
    const std::string extension = std::filesystem::path(path).extension().string();
    if (extension == ".wav") return SF_FORMAT_WAV | SF_FORMAT_PCM_24;
    if (extension == ".flac") return SF_FORMAT_FLAC | SF_FORMAT_PCM_24;
    failUsage("unknown kind of sound file", path, "a name that ends with .wav or .flac",
              extension.empty() ? "no extension" : extension);
}

}  // namespace

void checkSoundName(const std::string& path) { formatOf(path); }

std::string soundBytes(const std::vector<std::vector<float>>& channels, int rate, const std::string& path) {
    SF_INFO info = {};
    info.samplerate = rate;
    info.channels = static_cast<int>(channels.size());
    info.format = formatOf(path);
    const std::size_t frames = channels.front().size();
    if (3.0 * static_cast<double>(frames) * static_cast<double>(channels.size()) > kMostBytes)
        fail(kCannotWrite, path, "at most 4 GB of sound", shortNumber(static_cast<double>(frames) / rate) + " s");
    MemoryFile file;
    std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> out(openMemory(file, SFM_WRITE, info), &sf_close);
    if (!out) fail(kCannotWrite, path, "a rate and channels that the format takes", sf_strerror(nullptr));
    sf_command(out.get(), SFC_SET_CLIPPING, nullptr, SF_TRUE);
    std::vector<float> frame(channels.size());
    for (std::size_t i = 0; i < frames; ++i) {
        for (std::size_t c = 0; c < channels.size(); ++c) frame[c] = channels[c][i];
        if (sf_writef_float(out.get(), frame.data(), 1) != 1)
            fail(kCannotWrite, path, "room for the sound", sf_strerror(out.get()));
    }
    out.reset();  // lengths go into the header at the end
    return std::move(file.bytes);
}

}  // namespace katessel
