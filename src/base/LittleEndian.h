// Values of four bytes, as files hold them: the lowest byte first, whatever the machine.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>

namespace KaTessel {

// From a file's order to the machine's or back.
inline void turnLittleEndian(void* words, std::size_t count) {
    if constexpr (std::endian::native == std::endian::big) {
        char* const bytes = static_cast<char*>(words);
        for (std::size_t i = 0; i < count; ++i) std::reverse(bytes + 4 * i, bytes + 4 * (i + 1));
    }
}

}  // namespace KaTessel
