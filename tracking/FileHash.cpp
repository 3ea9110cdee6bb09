#include "tracking/FileHash.h"

#include <openssl/evp.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "recordings/base/Errors.h"

namespace katessel {

namespace {

constexpr char kCannotHash[] = "cannot read the file";

std::string hexadecimal(const unsigned char* bytes, unsigned int count) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (unsigned int i = 0; i < count; ++i) {
        text += digits[bytes[i] >> 4];
        text += digits[bytes[i] & 15];
    }
    return text;
}

}  // namespace

std::string fileSha256(const std::string& path) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
    if (!file) fail(kCannotHash, path, "a readable file", std::strerror(errno));
    const std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> hash(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    bool good = hash != nullptr && EVP_DigestInit_ex(hash.get(), EVP_sha256(), nullptr) == 1;
    std::array<unsigned char, 65536> chunk;
    while (const std::size_t count = std::fread(chunk.data(), 1, chunk.size(), file.get()))
        good = good && EVP_DigestUpdate(hash.get(), chunk.data(), count) == 1;
    if (std::ferror(file.get()) != 0) fail(kCannotHash, path, "a readable file", std::strerror(errno));
    std::array<unsigned char, EVP_MAX_MD_SIZE> result;
    unsigned int size = 0;
    good = good && EVP_DigestFinal_ex(hash.get(), result.data(), &size) == 1;
    if (!good) fail("cannot hash", path, "SHA-256 in libcrypto", "none");
    return hexadecimal(result.data(), size);
}

}  // namespace katessel
