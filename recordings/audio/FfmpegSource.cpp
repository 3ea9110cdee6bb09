#include "recordings/audio/FfmpegSource.h"

#include <endian.h>

#include <array>
#include <bit>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <set>

#include "recordings/base/Errors.h"
#include "recordings/base/Text.h"

namespace katessel {

namespace {

const std::set<std::string> kFfmpegExtensions = {".3gp",  ".aac", ".ac3", ".amr",  ".ape", ".avi", ".flv",
                                                 ".m4a",  ".m4b", ".m4v", ".mka",  ".mkv", ".mov", ".mp4",
                                                 ".mpeg", ".mpg", ".ogv", ".webm", ".wma", ".wmv", ".wv"};

constexpr char kExpected[] = "sound that ffmpeg decodes to its end";

// As an AU file of 32-bit floats: the simplest header that says rate and channels, and no length that a pipe cannot know.
// Of local files only, whatever a file names inside.
std::vector<std::string> commandFor(const std::string& path) {
    return {"ffmpeg",    "-nostdin", "-v",           "error", "-xerror", "-threads",      "1",  "-protocol_whitelist",
            "file",      "-i",       "file:" + path, "-map",  "0:a:0",   "-map_metadata", "-1", "-c:a",
            "pcm_f32be", "-f",       "au",           "pipe:1"};
}

// "[aac @ 0x55d0c8] channel element 0.0 is not allocated": without the part that changes from run to run.
std::string withoutAddress(const std::string& message) {
    const std::size_t end = message.starts_with("[") ? message.find("] ") : std::string::npos;
    return end == std::string::npos ? message : message.substr(end + 2);
}

}  // namespace

bool isForFfmpeg(const std::string& path) {
    return kFfmpegExtensions.count(lowerCase(std::filesystem::path(path).extension().string())) != 0;
}

FfmpegSource::FfmpegSource(const std::string& path) : m_path(path), m_decoder(commandFor(path)) {
    if (m_decoder.startError() == ENOENT)
        fail(kCannotRead, path, "the program ffmpeg for this kind of file (Debian: ffmpeg)", "none on the PATH");
    if (m_decoder.startError() != 0)
        fail(kCannotRead, path, "the program ffmpeg to start", std::strerror(m_decoder.startError()));
    readHeader();
}

void FfmpegSource::readHeader() {
    std::array<std::uint32_t, 6> header;  // magic, size of the header, bytes of sound, encoding, rate, channels
    const bool isWhole = m_decoder.read(header.data(), sizeof header) == sizeof header;
    for (std::uint32_t& word : header) word = be32toh(word);
    constexpr std::uint32_t kMagic = 0x2e736e64, kFloats = 6;
    const bool isGood = isWhole && header[0] == kMagic && header[1] >= sizeof header && header[1] < 65536 &&
                        header[3] == kFloats && header[4] - 1 < 1000000 && header[5] - 1 < 1024;
    if (!isGood) {
        finish();
        fail(kCannotRead, m_path, kExpected, "none");
    }
    std::string annotation(header[1] - sizeof header, '\0');
    m_decoder.read(annotation.data(), annotation.size());
    m_rate = static_cast<int>(header[4]);
    m_channels = static_cast<int>(header[5]);
}

int FfmpegSource::read(float* samples, int frames) {
    m_words.resize(static_cast<std::size_t>(frames) * static_cast<std::size_t>(m_channels));
    const std::size_t bytes = m_decoder.read(m_words.data(), m_words.size() * sizeof m_words[0]);
    const std::size_t frameBytes = static_cast<std::size_t>(m_channels) * sizeof m_words[0];
    // Only at the end is it known whether that was all.
    if (bytes < m_words.size() * sizeof m_words[0]) finish();
    if (bytes % frameBytes != 0) fail(kCannotRead, m_path, kExpected, "a part of a sample at its end");
    for (std::size_t i = 0; i < bytes / sizeof m_words[0]; ++i) samples[i] = std::bit_cast<float>(be32toh(m_words[i]));
    return static_cast<int>(bytes / frameBytes);
}

void FfmpegSource::finish() {
    const std::string problem = m_decoder.finish();
    if (!problem.empty()) fail(kCannotRead, m_path, kExpected, withoutAddress(problem));
}

}  // namespace katessel
