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
#include <vector>

#include "base/Files.h"
#include "base/LittleEndian.h"
#include "base/Messages.h"
#include "katessel/Paths.hpp"

namespace KaTessel {
namespace {

constexpr float kDumpPeriod = 0.005f;  // [s] the engine's hop
constexpr std::int32_t kMaxFrames = 100000;
constexpr std::int32_t kMaxFrameSize = 1000;
constexpr std::int64_t kMaxBytes = 400'000'000;  // of the rows of a statistics file, as much as the longest context has
constexpr std::int64_t kRowBytes = 24;  // beside its values, as of 64-bit machines, so that all take the same files

// A frame file being written, the period already in it. Remembers the first thing that went wrong.
class DumpFile {
public:
    explicit DumpFile(const std::string& path) : m_path(path), m_file(nullptr, &std::fclose) {
        // What goes wrong here shows when the file is opened.
        std::error_code ignored;
        std::filesystem::create_directories(pathOf(path).parent_path(), ignored);
        m_file.reset(openFile(path.c_str(), "wb"));
        if (!m_file) m_error = errno;
        writeFloats(&kDumpPeriod, 1);
    }

    void writeInt(std::size_t count) {
        std::int32_t value = static_cast<std::int32_t>(count);
        turnLittleEndian(&value, 1);
        write(&value, sizeof value);
    }

    void writeFloats(const float* values, std::size_t n) {
        std::vector<float> turned(values, values + n);
        turnLittleEndian(turned.data(), n);
        write(turned.data(), n * sizeof(float));
    }

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

// A file or pipe of which only the counts must be there.
class MatrixFile {
public:
    explicit MatrixFile(const std::string& path) : m_file(openFile(path.c_str(), "rb"), &std::fclose) {}

    bool isOpen() const { return m_file != nullptr; }

    template <typename Value>
    bool read(Value& value) {
        static_assert(sizeof value == 4);
        if (!isOpen() || std::fread(&value, sizeof value, 1, m_file.get()) != 1) return false;
        turnLittleEndian(&value, 1);
        return true;
    }

    // `count` rows of `length` values, neither of them negative. Deliberate: values that the file does not hold are 0,
    // so that a trimmed dump has as many frames as it announces.
    std::vector<std::vector<float>> readRows(std::int32_t count, std::int32_t length) {
        const std::size_t values = static_cast<std::size_t>(length);
        std::vector<std::vector<float>> rows(static_cast<std::size_t>(count));
        for (std::vector<float>& row : rows) {
            row.resize(values);
            const std::size_t present = std::fread(row.data(), sizeof(float), values, m_file.get());
            // The bytes of a value that is cut in two may be there already.
            std::fill(row.begin() + static_cast<std::ptrdiff_t>(present), row.end(), 0.0f);
            turnLittleEndian(row.data(), present);
        }
        return rows;
    }

private:
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> m_file;
};

// Why a statistics file is refused; empty: it is not, and has these counts.
std::string readCounts(MatrixFile& in, std::int32_t& count, std::int32_t& length) {
    if (!in.isOpen()) return "cannot be opened";
    if (!in.read(count)) return "ends within the row count";
    if (!in.read(length)) return "ends within the row length";
    // Rows without values count as well: two billion of them cost a file nothing.
    const std::int64_t perRow = kRowBytes + 4 * std::int64_t{length};
    if (count >= 0 && length >= 0 && count <= kMaxBytes / perRow) return {};
    return "claims " + std::to_string(count) + " rows of " + std::to_string(length) + " values";
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
    MatrixFile in(path);
    float period = 0.0f;
    std::int32_t count = 0, size = 0;
    if (!in.read(period) || !in.read(count) || count < 0 || count > kMaxFrames || !in.read(size) || size < 0 ||
        size > kMaxFrameSize)
        return false;
    std::vector<std::vector<float>> read = in.readRows(count, size);
    frames.insert(frames.end(), std::make_move_iterator(read.begin()), std::make_move_iterator(read.end()));
    framePeriod = period;
    frameSize = size;
    return true;
}

std::vector<std::vector<float>> read_stats(std::string path) {
    MatrixFile in(path);
    std::int32_t count = 0, length = 0;
    const std::string refusal = readCounts(in, count, length);
    if (refusal.empty()) return in.readRows(count, length);
    printMessage("WARNING: %s not loaded: it %s\n", path.c_str(), refusal.c_str());
    return {};
}

}  // namespace KaTessel
