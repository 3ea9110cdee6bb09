// Files that say in their header how many bytes of sound follow.
#include <algorithm>
#include <array>
#include <cstdint>
#include <sstream>

#include "recordings/audio/Damage.h"

namespace katessel {

namespace {

// A file of chunks, each an identifier, its size and so many bytes.
struct ChunkForm {
    const char* magic;
    long header;  // [bytes] before the first chunk
    int idBytes, sizeBytes;
    bool bigEndian;
    bool countsItself;  // sizes include identifier and size
    int alignment;      // [bytes] of where chunks begin
    const char* sound;  // identifier of the chunk with the samples
};

constexpr std::array<ChunkForm, 6> kForms = {{
    {"RIFF", 12, 4, 4, false, false, 2, "data"},
    {"RIFX", 12, 4, 4, true, false, 2, "data"},
    {"RF64", 12, 4, 4, false, false, 2, "data"},
    {"FORM", 12, 4, 4, true, false, 2, "SSND"},
    {"riff", 40, 16, 8, false, true, 8, "data"},
    {"caff", 8, 4, 8, true, false, 1, "data"},
}};

constexpr std::uint64_t kUnknownFrom = 0x7ffff000;  // of 32 bits: what writers to a pipe put there

std::uint64_t numberIn(const std::string& bytes, std::size_t at, int size, bool bigEndian) {
    std::uint64_t value = 0;
    for (int i = 0; i < size; ++i) {
        const std::size_t place = at + static_cast<std::size_t>(bigEndian ? i : size - 1 - i);
        value = value << 8 | (place < bytes.size() ? static_cast<unsigned char>(bytes[place]) : 0u);
    }
    return value;
}

std::optional<Damage> compare(std::uint64_t promised, long from, long size) {
    const std::uint64_t there = static_cast<std::uint64_t>(std::max(size - from, 0L));
    if (promised <= there) return std::nullopt;
    return Damage{std::to_string(promised) + " bytes of sound, as its header says", std::to_string(there)};
}

std::optional<Damage> findInChunks(const ChunkForm& form, std::FILE* file, long size) {
    const auto head = static_cast<std::uint64_t>(form.idBytes + form.sizeBytes);
    const auto end = static_cast<std::uint64_t>(size);
    std::uint64_t longSize = 0;  // where 32 bits are too few
    for (auto at = static_cast<std::uint64_t>(form.header); at + head <= end;) {
        const std::string chunk = bytesAt(file, static_cast<long>(at), head + 16);
        std::uint64_t bytes = numberIn(chunk, static_cast<std::size_t>(form.idBytes), form.sizeBytes, form.bigEndian);
        if (form.countsItself) bytes = std::max(bytes, head) - head;
        if (chunk.starts_with("ds64")) longSize = numberIn(chunk, head + 8, 8, false);
        if (chunk.starts_with(form.sound)) {
            const bool isUnknown = form.sizeBytes == 4 ? bytes >= kUnknownFrom : bytes >> 63 != 0;
            return compare(!isUnknown || bytes <= end - at - head ? bytes : longSize, static_cast<long>(at + head),
                           size);
        }
        const auto alignment = static_cast<std::uint64_t>(form.alignment);
        if (bytes > end) break;
        at += head + (bytes + alignment - 1) / alignment * alignment;
    }
    return std::nullopt;
}

// "sample_count -i 16000" and the like, one a line.
std::optional<Damage> findInNist(std::FILE* file, long size) {
    std::istringstream header(bytesAt(file, 0, 1024));
    std::uint64_t start = 0, samples = 0, bytes = 2, channels = 1;
    std::string word, coding = "pcm";
    for (header >> word >> start; header >> word && word != "end_head";) {
        std::string type;
        if (word == "sample_count") header >> type >> samples;
        if (word == "sample_n_bytes") header >> type >> bytes;
        if (word == "channel_count") header >> type >> channels;
        if (word == "sample_coding") header >> type >> coding;
    }
    if (coding.find(',') != std::string::npos) return std::nullopt;  // compressed
    return compare(samples * bytes * channels, static_cast<long>(start), size);
}

}  // namespace

std::optional<Damage> findContainerDamage(std::FILE* file, long size) {
    const std::string start = bytesAt(file, 0, 12);
    for (const ChunkForm& form : kForms)
        if (start.starts_with(form.magic)) return findInChunks(form, file, size);
    if (start.starts_with("NIST_1A")) return findInNist(file, size);
    const bool bigEndian = start.starts_with(".snd");
    if (!bigEndian && !start.starts_with("dns.")) return std::nullopt;
    const std::uint64_t bytes = numberIn(start, 8, 4, bigEndian);
    return compare(bytes < kUnknownFrom ? bytes : 0, static_cast<long>(numberIn(start, 4, 4, bigEndian)), size);
}

}  // namespace katessel
