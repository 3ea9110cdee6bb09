#include "recordings/audio/SoundWriter.h"

#include <sndfile.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <memory>

#include "recordings/base/Errors.h"

namespace katessel {

namespace {

constexpr char kCannotWrite[] = "cannot write";
constexpr double kMostBytes = 4.0e9;  // of a WAV file, a little below what its lengths can say

int formatOf(const std::string& path) {
    const std::string extension = std::filesystem::path(path).extension().string();
    if (extension == ".wav") return SF_FORMAT_WAV | SF_FORMAT_PCM_24;
    if (extension == ".flac") return SF_FORMAT_FLAC | SF_FORMAT_PCM_24;
    failUsage("unknown kind of sound file", path, "a name that ends with .wav or .flac",
              extension.empty() ? "no extension" : extension);
}

// A file in memory, as libsndfile sees it.
struct MemoryFile {
    std::string bytes;
    sf_count_t position = 0;

    sf_count_t size() const { return static_cast<sf_count_t>(bytes.size()); }

    static sf_count_t length(void* user) { return static_cast<MemoryFile*>(user)->size(); }
    static sf_count_t tell(void* user) { return static_cast<MemoryFile*>(user)->position; }

    static sf_count_t seek(sf_count_t offset, int whence, void* user) {
        MemoryFile& file = *static_cast<MemoryFile*>(user);
        const sf_count_t origin = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? file.position : file.size();
        file.position = std::max<sf_count_t>(origin + offset, 0);
        return file.position;
    }

    static sf_count_t read(void* to, sf_count_t count, void* user) {
        MemoryFile& file = *static_cast<MemoryFile*>(user);
        const sf_count_t there = std::clamp<sf_count_t>(file.size() - file.position, 0, count);
        std::memcpy(to, file.bytes.data() + file.position, static_cast<std::size_t>(there));
        file.position += there;
        return there;
    }

    static sf_count_t write(const void* from, sf_count_t count, void* user) {
        MemoryFile& file = *static_cast<MemoryFile*>(user);
        const auto end = static_cast<std::size_t>(file.position + count);
        if (end > file.bytes.size()) file.bytes.resize(end);
        std::memcpy(file.bytes.data() + file.position, from, static_cast<std::size_t>(count));
        file.position += count;
        return count;
    }
};

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
    SF_VIRTUAL_IO access = {&MemoryFile::length, &MemoryFile::seek, &MemoryFile::read, &MemoryFile::write,
                            &MemoryFile::tell};
    MemoryFile file;
    std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> out(sf_open_virtual(&access, SFM_WRITE, &info, &file), &sf_close);
    if (!out) fail(kCannotWrite, path, "a rate and channels that the format takes", sf_strerror(nullptr));
    sf_command(out.get(), SFC_SET_CLIPPING, nullptr, SF_TRUE);
    std::vector<float> frame(channels.size());
    for (std::size_t i = 0; i < frames; ++i) {
        for (std::size_t c = 0; c < channels.size(); ++c) frame[c] = channels[c][i];
        if (sf_writef_float(out.get(), frame.data(), 1) != 1)
            fail(kCannotWrite, path, "room for the sound", sf_strerror(out.get()));
    }
    out.reset();  // lengths go into the header at the end
    return file.bytes;
}

}  // namespace katessel
