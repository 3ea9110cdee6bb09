#include "Checkpoint.h"

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "recordings/base/Errors.h"
#include "recordings/base/OutputFile.h"

namespace katessel::training {

namespace {

constexpr char kChecksumMark[] = "checksum";  // behind the archive, then the sum in hexadecimal
constexpr std::size_t kChecksumSize = sizeof kChecksumMark - 1 + 16;

// FNV-1a.
std::string checksumOf(const std::string& bytes) {
    std::uint64_t sum = 0xcbf29ce484222325u;
    for (const char byte : bytes) sum = (sum ^ static_cast<unsigned char>(byte)) * 0x100000001b3u;
    char text[17];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(sum));
    return text;
}

}  // namespace

void writeCheckpoint(const std::string& path, std::string archive) {
    const std::string sum = checksumOf(archive);
    OutputFile(path).write(archive.append(kChecksumMark).append(sum));
}

std::string readCheckpoint(const std::string& path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    std::string bytes = content.str();
    if (bytes.size() < kChecksumSize) return bytes;
    const std::string ending = bytes.substr(bytes.size() - kChecksumSize);
    if (!ending.starts_with(kChecksumMark)) return bytes;
    bytes.resize(bytes.size() - kChecksumSize);
    const std::string found = checksumOf(bytes), expected = ending.substr(sizeof kChecksumMark - 1);
    if (found != expected) fail("cannot go on", path, "a checkpoint with the checksum " + expected, found);
    return bytes;
}

}  // namespace katessel::training
