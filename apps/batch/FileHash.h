// Which file it was: the SHA-256 of its bytes.
#ifndef KATESSEL_APPS_FILEHASH_H
#define KATESSEL_APPS_FILEHASH_H

#include <string>

// 64 lower-case hexadecimal digits. Fails when the file cannot be read.
std::string fileSha256(const std::string& path);

#endif
