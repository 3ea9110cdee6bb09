// Numbers as bytes of a file, independent of the machine.
#ifndef KATESSEL_APPS_BINARYTEXT_H
#define KATESSEL_APPS_BINARYTEXT_H

#include <cstdint>
#include <string>

// The lowest `size` bytes of `value`, the lowest first.
inline void appendLittleEndian(std::string& bytes, std::uint32_t value, int size) {
    for (int i = 0; i < size; ++i) bytes += static_cast<char>(value >> 8 * i & 0xff);
}

// The same, the highest first.
inline void appendBigEndian(std::string& bytes, std::uint32_t value, int size) {
    for (int i = size; i-- > 0;) bytes += static_cast<char>(value >> 8 * i & 0xff);
}

#endif
