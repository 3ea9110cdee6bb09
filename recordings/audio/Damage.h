// Whether a sound file is all there: what its container promises, held against its bytes. A decoder makes the best of what
// it finds and says nothing.
#pragma once

#include <cstdio>
#include <optional>
#include <string>

namespace katessel {

struct Damage {
    std::string expected, found;
    bool shifts = false;  // something is missing before the end, so that the rest would be heard too early
};

// Of a WAV, RF64, W64, AIFF, CAF, AU, NIST, Ogg or MP3 file; of others nothing is known before they are decoded, and
// whoever writes to a pipe may promise nothing. Reads `file` from its start on, and all of an Ogg or MP3 file.
std::optional<Damage> findDamage(std::FILE* file);

// Its parts. `size` is that of the file [bytes].
std::optional<Damage> findContainerDamage(std::FILE* file, long size);
std::optional<Damage> findOggDamage(std::FILE* file);
std::optional<Damage> findMp3Damage(std::FILE* file, long size);

// Reads `count` bytes from a place on; fewer at the end.
std::string bytesAt(std::FILE* file, long place, std::size_t count);

}  // namespace katessel
