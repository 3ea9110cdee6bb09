#include "modelio/BinaryReader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "base/Files.h"
#include "base/LittleEndian.h"

namespace KaTessel {
namespace {

constexpr std::size_t kMostFromPipe = 64'000'000;  // [bytes]
constexpr std::size_t kPiece = 1 << 16;            // [bytes]

}  // namespace

BinaryReader::BinaryReader(const std::string& path) : m_file(openFile(path.c_str(), "rb"), &std::fclose) {
    if (!m_file) {
        fail(std::string("cannot be opened: ") + std::strerror(errno));
        return;
    }
    if (std::fseek(m_file.get(), 0, SEEK_END) != 0) {
        takeAll();
        return;
    }
    // A folder opens, but has no size.
    m_size = std::ftell(m_file.get());
    if (m_size < 0 || std::fseek(m_file.get(), 0, SEEK_SET) != 0) {
        m_size = 0;
        fail("cannot be read");
    }
}

BinaryReader::BinaryReader(const void* bytes, std::size_t count)
    : m_file(nullptr, &std::fclose),
      m_bytes(static_cast<const char*>(bytes)),
      m_size(static_cast<std::int64_t>(count)) {}

void BinaryReader::takeAll() {
    std::size_t count = 0;
    for (std::size_t got = 1; got > 0 && count <= kMostFromPipe; count += got) {
        m_taken.resize(count + kPiece);
        got = std::fread(m_taken.data() + count, 1, kPiece, m_file.get());
    }
    m_taken.resize(count);
    m_bytes = m_taken.data();
    if (std::ferror(m_file.get()) != 0)
        fail("cannot be read");
    else if (count > kMostFromPipe)
        fail("holds more than 64 MB");
    else
        m_size = static_cast<std::int64_t>(count);
}

bool BinaryReader::fail(std::string why, std::int64_t offset) {
    if (m_why.empty()) {
        m_why = std::move(why);
        m_failedAt = offset;
    }
    return false;
}

bool BinaryReader::read(void* to, std::int64_t bytes, const std::string& what) {
    if (!good()) return false;
    if (bytes > bytesLeft()) return fail("ends within " + what, m_size);
    const std::size_t count = static_cast<std::size_t>(bytes);
    if (m_bytes != nullptr)
        std::memcpy(to, m_bytes + m_position, count);
    else if (std::fread(to, 1, count, m_file.get()) != count)
        return fail(std::ferror(m_file.get()) != 0 ? "cannot be read" : "ends within " + what);
    m_position += bytes;
    return true;
}

bool BinaryReader::readWords(void* to, std::int64_t count, const std::string& what) {
    if (!read(to, 4 * count, what)) return false;
    turnLittleEndian(to, static_cast<std::size_t>(count));
    return true;
}

}  // namespace KaTessel
