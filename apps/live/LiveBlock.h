// What a sound system hands over at a time.
#pragma once

#include <cstdint>

namespace katessel {

struct LiveBlock {
    std::uint32_t clock = 0;  // [samples] when its first sample came; begins again after 2^32
    std::uint32_t count = 0;  // [samples]
    int rate = 0;             // [Hz]
};

}  // namespace katessel
