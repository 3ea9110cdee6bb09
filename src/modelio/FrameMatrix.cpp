// Frame files, dumps and statistics: matrices of float32 behind a few counts.
#include "katessel/FrameMatrix.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <memory>
#include <system_error>

#include "base/Messages.h"
#include "modelio/BinaryReader.h"

namespace KaTessel {
namespace {

constexpr float kDumpPeriod = 0.005f;  // [s] the engine's hop
constexpr std::int32_t kMaxFrames = 100000;
constexpr std::int32_t kMaxFrameSize = 1000;

// A frame file being written, the period already in it. Remembers the first thing that went wrong.
class DumpFile {
public:
    explicit DumpFile(const std::string& path) : m_path(path), m_file(nullptr, &std::fclose) {
        // What goes wrong here shows when the file is opened.
        std::error_code ignored;
        std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ignored);
        m_file.reset(std::fopen(path.c_str(), "wb"));
        if (!m_file) m_error = errno;
        writeFloats(&kDumpPeriod, 1);
    }

    void writeInt(std::size_t count) {
        const std::int32_t value = static_cast<std::int32_t>(count);
        write(&value, sizeof value);
    }

    void writeFloats(const float* values, std::size_t n) { write(values, n * sizeof(float)); }

    // Only closing tells whether a full disk has swallowed the rest.
    void close() {
        if (m_file && std::fclose(m_file.release()) != 0 && m_error == 0) m_error = errno;
        if (m_error != 0)
            printMessage("WARNING: %s not written: %s\n", m_path.c_str(),
                         std::generic_category().message(m_error).c_str());
    }

private:
    void write(const void* from, std::size_t bytes) {
        if (m_error == 0 && bytes > 0 && std::fwrite(from, 1, bytes, m_file.get()) != bytes) m_error = errno;
    }

    std::string m_path;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> m_file;
    int m_error = 0;  // as errno
};

// Reads `count` rows of `length` values, neither of them negative.
bool readRows(BinaryReader& in, std::int32_t count, std::int32_t length, std::vector<std::vector<float>>& rows) {
    const std::int64_t bytes = static_cast<std::int64_t>(sizeof(float)) * length;
    if (bytes > 0 && count > in.bytesLeft() / bytes)
        return in.fail("claims " + std::to_string(count) + " rows of " + std::to_string(length) +
                       " values, more than it holds");
    rows.resize(static_cast<std::size_t>(count));
    for (std::vector<float>& row : rows) {
        row.resize(static_cast<std::size_t>(length));
        if (length > 0 && !in.read(row.data(), bytes, "a row's values")) return false;
    }
    return true;
}

}  // namespace

void write_data(std::string path, const std::vector<std::vector<float>>& frames, int skipAtStart, int skipAtEnd) {
    const std::size_t count = frames.size();
    const std::size_t size = count > 0 ? frames.front().size() : 0;
    DumpFile file(path);
    file.writeInt(count);
    file.writeInt(size);
    if (count > 0) {
        const std::size_t start = std::min(count - 1, static_cast<std::size_t>(std::max(skipAtStart, 0)));
        const std::size_t trimmed = std::min(count - start - 1, static_cast<std::size_t>(std::max(skipAtEnd, 0)));
        const std::vector<float> zeros(size, 0.0f);
        for (std::size_t t = start; t < count - trimmed; ++t) {
            const std::size_t present = std::min(size, frames[t].size());
            file.writeFloats(frames[t].data(), present);
            file.writeFloats(zeros.data(), size - present);
        }
    }
    file.close();
}

void write_data(std::string path, const std::vector<float>& values, int skipAtStart, int skipAtEnd) {
    const std::int64_t count = static_cast<std::int64_t>(values.size());
    const std::int64_t remaining = count - skipAtStart - static_cast<std::int64_t>(skipAtEnd);
    DumpFile file(path);
    file.writeInt(values.size());
    file.writeInt(1);
    if (skipAtStart >= 0 && skipAtEnd >= 0 && remaining > 0)
        file.writeFloats(values.data() + skipAtStart, static_cast<std::size_t>(remaining));
    file.close();
}

void write_data(std::string path, float* values, int n) {
    write_data(path, std::vector<float>(values, values + std::max(n, 0)), 0, 0);
}

bool loadContext(std::string path, std::vector<std::vector<float>>& frames, float& framePeriod, int& frameSize) {
    BinaryReader in(path);
    float period = 0.0f;
    std::int32_t count = 0, size = 0;
    std::vector<std::vector<float>> read;
    if (!in.read(&period, sizeof period, "the frame period") || !in.readInt(count, "the frame count") || count < 0 ||
        count > kMaxFrames || !in.readInt(size, "the frame size") || size < 0 || size > kMaxFrameSize ||
        !readRows(in, count, size, read))
        return false;
    frames.insert(frames.end(), std::make_move_iterator(read.begin()), std::make_move_iterator(read.end()));
    framePeriod = period;
    frameSize = size;
    return true;
}

std::vector<std::vector<float>> read_stats(std::string path) {
    BinaryReader in(path);
    std::int32_t count = 0, length = 0;
    std::vector<std::vector<float>> rows;
    if (in.readInt(count, "the row count") && in.readInt(length, "the row length")) {
        // Rows without values cost a file nothing: two billion of them would fit into eight bytes.
        if (count < 0 || length < 0 || (count > 0 && length == 0))
            in.fail("claims " + std::to_string(count) + " rows of " + std::to_string(length) + " values");
        else
            readRows(in, count, length, rows);
    }
    if (in.good()) return rows;
    printMessage("WARNING: %s not loaded: it %s\n", path.c_str(), in.why().c_str());
    return {};
}

}  // namespace KaTessel
