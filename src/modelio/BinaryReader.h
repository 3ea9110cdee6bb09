// Binary files of counts and values, read one after the other and never past the end.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

namespace KaTessel {

// Reads little-endian values one after the other and remembers the first thing that went wrong.
//
// Whoever reads a count compares it with bytesLeft() before allocating anything for it, so that a damaged file costs
// no more memory than its own size.
class BinaryReader {
public:
    explicit BinaryReader(const std::string& path);

    bool good() const { return m_why.empty(); }
    const std::string& why() const { return m_why; }  // completes a sentence: "ends within the layer count"
    std::int64_t bytesLeft() const { return m_left; }

    // Returns false. Only the first reason is kept.
    bool fail(std::string why);

    // Reads `bytes` bytes that belong to `what`.
    bool read(void* to, std::int64_t bytes, const char* what);

    bool readInt(std::int32_t& value, const char* what) { return read(&value, sizeof value, what); }

private:
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> m_file;
    std::int64_t m_left = 0;
    std::string m_why;
};

}  // namespace KaTessel
