// Binary files of counts and values, read one after the other and never past the end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace KaTessel {

// Reads little-endian values one after the other and remembers the first thing that went wrong, and where.
//
// Whoever reads a count compares it with bytesLeft() before allocating anything for it, so that damaged bytes cost no
// more memory than there are of them.
class BinaryReader {
public:
    // A file, which is opened once; a pipe is taken whole, up to 64 MB.
    explicit BinaryReader(const std::string& path);
    // `count` bytes in memory, which must outlive the reader.
    BinaryReader(const void* bytes, std::size_t count);

    bool good() const { return m_why.empty(); }
    const std::string& why() const { return m_why; }  // completes a sentence: "ends within the layer count"
    std::int64_t size() const { return m_size; }      // [bytes]
    std::int64_t bytesLeft() const { return m_size - m_position; }
    // Where the next value begins; after a failure, the place of what went wrong. [bytes]
    std::int64_t position() const { return good() ? m_position : m_failedAt; }

    // Returns false. Only the first reason is kept.
    bool fail(std::string why) { return fail(std::move(why), m_position); }
    bool fail(std::string why, std::int64_t offset);

    // Reads `bytes` bytes that belong to `what`.
    bool read(void* to, std::int64_t bytes, const std::string& what);

    // Reads `count` values of four bytes each.
    bool readWords(void* to, std::int64_t count, const std::string& what);

    bool readInt(std::int32_t& value, const std::string& what) { return readWords(&value, 1, what); }

private:
    void takeAll();

    std::unique_ptr<std::FILE, int (*)(std::FILE*)> m_file;  // none where the bytes are in memory
    std::vector<char> m_taken;                               // what came through a pipe
    const char* m_bytes = nullptr;                           // m_size bytes, or null: read m_file
    std::int64_t m_size = 0;
    std::int64_t m_position = 0;
    std::int64_t m_failedAt = 0;
    std::string m_why;
};

}  // namespace KaTessel
