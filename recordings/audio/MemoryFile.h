// A sound file in memory, as libsndfile reads and writes one: most formats cannot be read from a pipe, and what is
// written goes to its file as a whole.
#pragma once

#include <sndfile.h>

#include <string>

namespace katessel {

struct MemoryFile {
    std::string bytes;
    sf_count_t position = 0;

    sf_count_t size() const { return static_cast<sf_count_t>(bytes.size()); }
};

// Opens `file`, which must outlive what is returned. Null where libsndfile refuses it.
SNDFILE* openMemory(MemoryFile& file, int mode, SF_INFO& info);

}  // namespace katessel
