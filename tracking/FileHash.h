// Which file it was: the SHA-256 of its bytes.
#pragma once

#include <string>

namespace katessel {

// 64 lower-case hexadecimal digits. Fails when the file cannot be read.
std::string fileSha256(const std::string& path);

}  // namespace katessel
