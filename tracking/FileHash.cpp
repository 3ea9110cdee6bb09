#include "tracking/FileHash.h"

#include <sha2.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "recordings/base/Errors.h"

namespace katessel {

std::string fileSha256(const std::string& path) {
    std::array<char, SHA256_DIGEST_STRING_LENGTH> digits;
    if (SHA256File(path.c_str(), digits.data()) == nullptr)
        fail("cannot read the file", path, "a readable file", std::strerror(errno));
    return digits.data();
}

}  // namespace katessel
