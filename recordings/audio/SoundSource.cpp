#include "recordings/audio/SoundSource.h"

#include <sndfile.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <system_error>
#include <vector>

#include "recordings/base/Errors.h"

namespace katessel {

namespace {

constexpr int kMostFramesPerByte = 64;  // of any compression; more is a wrong header

using OpenFile = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;
int closeNothing(std::FILE*) { return 0; }

// What libsndfile itself reports less clearly. Opening tells more than asking for permissions would.
OpenFile openFile(const std::string& path) {
    if (path == kStandardStream) {
        if (::isatty(STDIN_FILENO) != 0) fail(kCannotRead, path, "sound on standard input", "a terminal");
        return {stdin, &closeNothing};
    }
    std::error_code unknown;
    const std::filesystem::file_status status = std::filesystem::status(path, unknown);
    if (std::filesystem::is_directory(status)) fail(kCannotRead, path, "an audio file (-r for folders)", "a folder");
    if (std::filesystem::is_fifo(status)) fail(kCannotRead, path, "an audio file, or - for standard input", "a pipe");
    OpenFile file(std::fopen(path.c_str(), "rb"), &std::fclose);
    if (!file) fail(kCannotRead, path, "an audio file", std::strerror(errno));
    return file;
}

// Bytes in memory as libsndfile asks for them: most formats cannot be read from a pipe.
struct Bytes {
    std::vector<char> all;
    sf_count_t position = 0;

    sf_count_t size() const { return static_cast<sf_count_t>(all.size()); }
};

Bytes& bytesOf(void* data) { return *static_cast<Bytes*>(data); }

SF_VIRTUAL_IO memoryAccess() {
    SF_VIRTUAL_IO io = {};
    io.get_filelen = [](void* data) { return bytesOf(data).size(); };
    io.tell = [](void* data) { return bytesOf(data).position; };
    io.write = [](const void*, sf_count_t, void*) { return sf_count_t{0}; };
    io.seek = [](sf_count_t offset, int whence, void* data) {
        Bytes& bytes = bytesOf(data);
        const sf_count_t from = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? bytes.position : bytes.size();
        bytes.position = std::clamp<sf_count_t>(from + offset, 0, bytes.size());
        return bytes.position;
    };
    io.read = [](void* to, sf_count_t count, void* data) {
        Bytes& bytes = bytesOf(data);
        const sf_count_t given = std::clamp<sf_count_t>(count, 0, bytes.size() - bytes.position);
        std::copy_n(bytes.all.data() + bytes.position, given, static_cast<char*>(to));
        bytes.position += given;
        return given;
    };
    return io;
}

std::vector<char> readEverything(std::FILE* file, const std::string& path) {
    std::vector<char> bytes;
    char chunk[65536];
    while (const std::size_t count = std::fread(chunk, 1, sizeof chunk, file))
        bytes.insert(bytes.end(), chunk, chunk + count);
    if (std::ferror(file) != 0) fail(kCannotRead, path, "sound up to its end", std::strerror(errno));
    return bytes;
}

class SoundFileSource : public SoundSource {
public:
    explicit SoundFileSource(const std::string& path) : m_path(path) {
        const OpenFile file = openFile(path);
        const bool streamed = path == kStandardStream;
        if (streamed) m_bytes.all = readEverything(file.get(), path);
        open(streamed);
        if (m_info.samplerate < 1) fail(kCannotRead, path, "a sample rate above 0", std::to_string(m_info.samplerate));
        m_rate = m_info.samplerate;
        m_channels = m_info.channels;
    }

    std::int64_t expectedFrames() const override {
        std::error_code error;
        const std::uintmax_t bytes =
            m_bytes.all.empty() ? std::filesystem::file_size(m_path, error) : m_bytes.all.size();
        if (error || m_info.frames < 0) return 0;
        return static_cast<std::uintmax_t>(m_info.frames) <= bytes * kMostFramesPerByte ? m_info.frames : 0;
    }

    int read(float* samples, int frames) override {
        const sf_count_t count = sf_readf_float(m_file.get(), samples, frames);
        if (count == 0 && sf_error(m_file.get()) != SF_ERR_NO_ERROR)
            fail(kCannotRead, m_path, "sound up to its end", sf_strerror(m_file.get()));
        return static_cast<int>(count);
    }

    bool seek(std::int64_t frames) override {
        if (m_info.seekable == 0 || frames > m_info.frames) return false;
        return sf_seek(m_file.get(), frames, SEEK_CUR) >= 0;
    }

private:
    void open(bool fromMemory) {
        // The reason why a file cannot be opened is kept for the whole process.
        static std::mutex reason;
        const std::lock_guard lock(reason);
        SF_VIRTUAL_IO io = memoryAccess();
        m_file.reset(fromMemory ? sf_open_virtual(&io, SFM_READ, &m_info, &m_bytes)
                                : sf_open(m_path.c_str(), SFM_READ, &m_info));
        if (!m_file) fail(kCannotRead, m_path, "a known audio format", sf_strerror(nullptr));
    }

    std::string m_path;
    Bytes m_bytes;  // of standard input
    SF_INFO m_info = {};
    std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> m_file{nullptr, &sf_close};
};

class RawSource : public SoundSource {
public:
    RawSource(const std::string& path, const RawForm& form) : m_path(path), m_form(form), m_file(openFile(path)) {
        m_rate = form.rate;
        m_channels = form.channels;
    }

    int read(float* samples, int frames) override {
        const std::size_t frameBytes = static_cast<std::size_t>(m_form.frameBytes());
        m_bytes.resize(static_cast<std::size_t>(frames) * frameBytes);
        const std::size_t count = std::fread(m_bytes.data(), 1, m_bytes.size(), m_file.get());
        if (std::ferror(m_file.get()) != 0) fail(kCannotRead, m_path, "sound up to its end", std::strerror(errno));
        // A remainder tells of another form than the one given.
        if (count % frameBytes != 0)
            fail(kCannotRead, m_path, "whole frames of " + std::to_string(frameBytes) + " bytes",
                 "one of " + std::to_string(count % frameBytes) + " at the end");
        const int read = static_cast<int>(count / frameBytes);
        decodeSamples(m_form.sample, m_bytes.data(), read * m_channels, samples);
        return read;
    }

private:
    std::string m_path;
    RawForm m_form;
    OpenFile m_file;
    std::vector<unsigned char> m_bytes;
};

}  // namespace

std::unique_ptr<SoundSource> openSound(const std::string& path, const std::optional<RawForm>& raw) {
    if (raw) return std::make_unique<RawSource>(path, *raw);
    return std::make_unique<SoundFileSource>(path);
}

}  // namespace katessel
