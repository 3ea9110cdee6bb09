// Sound as the bytes of a file.
#pragma once

#include <string>
#include <vector>

namespace katessel {

// Wrong usage unless the path ends with .wav or .flac.
void checkSoundName(const std::string& path);

// The file's bytes, 24 bits a sample, in the format that the path's name asks for. All channels have the same length;
// what lies outside -1 .. 1 is clipped. Fails when the format cannot hold so much; `path` is named.
std::string soundBytes(const std::vector<std::vector<float>>& channels, int rate, const std::string& path);

}  // namespace katessel
