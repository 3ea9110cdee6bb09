// Numbers as bytes of a file, independent of the machine.
#pragma once

#include <cstdint>
#include <string>

namespace katessel {

// The lowest `size` bytes of `value`, the lowest first.
inline void appendLittleEndian(std::string& bytes, std::uint32_t value, int size) {
    for (int i = 0; i < size; ++i) bytes += static_cast<char>(value >> 8 * i & 0xff);
}

// The same, the highest first.
inline void appendBigEndian(std::string& bytes, std::uint32_t value, int size) {
    for (int i = size; i-- > 0;) bytes += static_cast<char>(value >> 8 * i & 0xff);
}

}  // namespace katessel
