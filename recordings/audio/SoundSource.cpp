#include "recordings/audio/SoundSource.h"

#include <unistd.h>

#include <bit>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <limits>
#include <mutex>
#include <system_error>
#include <vector>

#include "recordings/audio/FfmpegSource.h"
#include "recordings/audio/MemoryFile.h"
#include "recordings/base/Errors.h"
#include "recordings/base/TextFile.h"

namespace katessel {

namespace {

constexpr int kMostFramesPerByte = 64;  // of any compression; more is a wrong header

using OpenFile = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;
int closeNothing(std::FILE*) { return 0; }
int closeFile(std::FILE* file) { return file == nullptr ? 0 : std::fclose(file); }

// What libsndfile itself reports less clearly. Opening tells more than asking for permissions would.
OpenFile openFile(const std::string& path) {
    if (path == kStandardStream) {
        if (::isatty(STDIN_FILENO) != 0) fail(kCannotRead, path, "sound on standard input", "a terminal");
        return {stdin, &closeNothing};
    }
    const std::string odd = oddKind(path);
    if (odd == "a folder") fail(kCannotRead, path, "an audio file (-r for folders)", odd);
    if (!odd.empty()) fail(kCannotRead, path, "an audio file, or - for standard input", odd);
    OpenFile file(std::fopen(path.c_str(), "rb"), &std::fclose);
    if (!file) fail(kCannotRead, path, "an audio file", std::strerror(errno));
    return file;
}

std::string readEverything(std::FILE* file, const std::string& path) {
    std::string bytes;
    char chunk[65536];
    while (const std::size_t count = std::fread(chunk, 1, sizeof chunk, file)) bytes.append(chunk, count);
    if (std::ferror(file) != 0) fail(kCannotRead, path, "sound up to its end", std::strerror(errno));
    return bytes;
}

class SoundFileSource : public SoundSource {
public:
    SoundFileSource(const std::string& path, bool allowDamaged) : m_path(path) {
        const OpenFile file = openFile(path);
        const bool streamed = path == kStandardStream;
        if (streamed) m_standardInput.bytes = readEverything(file.get(), path);
        lookForDamage(streamed ? openBytes(m_standardInput.bytes).get() : file.get());
        if (m_damage) refuseDamage(*m_damage, path, allowDamaged);
        open(streamed);
        if (m_info.samplerate < 1) fail(kCannotRead, path, "a sample rate above 0", std::to_string(m_info.samplerate));
        m_rate = m_info.samplerate;
        m_channels = m_info.channels;
    }

    std::int64_t expectedFrames() const override {
        std::error_code error;
        const std::uintmax_t bytes =
            m_standardInput.bytes.empty() ? std::filesystem::file_size(m_path, error) : m_standardInput.bytes.size();
        if (error || m_info.frames < 0) return 0;
        return static_cast<std::uintmax_t>(m_info.frames) <= bytes * kMostFramesPerByte ? m_info.frames : 0;
    }

    int read(float* samples, int frames) override {
        const sf_count_t count = sf_readf_float(m_file.get(), samples, frames);
        // What came with an error may already be from behind the damage.
        if (sf_error(m_file.get()) != SF_ERR_NO_ERROR) {
            m_damage = m_damage.value_or(Damage{"sound up to its end", sf_strerror(m_file.get())});
            return 0;
        }
        m_position += count;
        const bool knowsItsLength = (m_info.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_FLAC && m_info.frames > 0;
        if (count == 0 && !m_damage && knowsItsLength && m_position < m_info.frames)
            m_damage = {std::to_string(m_info.frames) + " samples, as its header says", std::to_string(m_position)};
        return static_cast<int>(count);
    }

    bool seek(std::int64_t frames) override {
        if (m_info.seekable == 0 || frames > m_info.frames) return false;
        if (sf_seek(m_file.get(), frames, SEEK_CUR) < 0) return false;
        m_position += frames;
        return true;
    }

    std::optional<Damage> damage() const override { return m_damage; }

private:
    void lookForDamage(std::FILE* file) {
        if (file != nullptr) m_damage = findDamage(file);
    }

    static OpenFile openBytes(std::string& bytes) {
        return {bytes.empty() ? nullptr : ::fmemopen(bytes.data(), bytes.size(), "rb"), &closeFile};
    }

    void open(bool fromMemory) {
        // The reason why a file cannot be opened is kept for the whole process.
        static std::mutex reason;
        const std::lock_guard lock(reason);
        m_file.reset(fromMemory ? openMemory(m_standardInput, SFM_READ, m_info)
                                : sf_open(m_path.c_str(), SFM_READ, &m_info));
        if (!m_file) fail(kCannotRead, m_path, "a known audio format", sf_strerror(nullptr));
    }

    std::string m_path;
    MemoryFile m_standardInput;
    SF_INFO m_info = {};
    std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> m_file{nullptr, &sf_close};
    std::int64_t m_position = 0;  // [frames]
    std::optional<Damage> m_damage;
};

std::uint64_t littleEndian(const unsigned char* bytes, int size) {
    std::uint64_t value = 0;
    for (int i = size; i-- > 0;) value = value << 8 | bytes[i];
    return value;
}

// One sample from its bytes; integers to -1 .. 1.
float decodeSample(RawKind kind, const unsigned char* bytes) {
    const std::uint64_t value = littleEndian(bytes, kind.bytes);
    if (kind.sample == RawSample::float32) return std::bit_cast<float>(static_cast<std::uint32_t>(value));
    if (kind.sample == RawSample::float64) {
        const double sample = std::bit_cast<double>(value);
        const bool tooLarge = std::abs(sample) > static_cast<double>(std::numeric_limits<float>::max());
        return tooLarge ? std::numeric_limits<float>::infinity() : static_cast<float>(sample);
    }
    const auto fullScale = static_cast<std::int32_t>(static_cast<std::uint32_t>(value) << (32 - 8 * kind.bytes));
    return static_cast<float>(fullScale) / 2147483648.0f;
}

void decodeSamples(RawKind kind, const unsigned char* bytes, int count, float* samples) {
    for (int i = 0; i < count; ++i, bytes += kind.bytes) samples[i] = decodeSample(kind, bytes);
}

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
        // A remainder means that the form is another one.
        if (count % frameBytes != 0)
            fail(kCannotRead, m_path, "whole frames of " + std::to_string(frameBytes) + " bytes",
                 "one of " + std::to_string(count % frameBytes) + " at the end");
        const int read = static_cast<int>(count / frameBytes);
        decodeSamples(m_form.kind, m_bytes.data(), read * m_channels, samples);
        return read;
    }

private:
    std::string m_path;
    RawForm m_form;
    OpenFile m_file;
    std::vector<unsigned char> m_bytes;
};

}  // namespace

std::unique_ptr<SoundSource> openSound(const std::string& path, const std::optional<RawForm>& raw, bool allowDamaged) {
    if (raw) return std::make_unique<RawSource>(path, *raw);
    if (path != kStandardStream && isForFfmpeg(path)) {
        openFile(path);  // says clearly what ffmpeg would not
        return std::make_unique<FfmpegSource>(path);
    }
    return std::make_unique<SoundFileSource>(path, allowDamaged);
}

void refuseDamage(const Damage& damage, const std::string& path, bool allowDamaged) {
    if (damage.shifts || !allowDamaged) fail(kDamaged, path, damage.expected, damage.found);
}

}  // namespace katessel
