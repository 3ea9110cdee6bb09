#include "base/Files.h"

#include <sys/stat.h>

#ifdef _WIN32
#include <filesystem>
#include <string>

#include "katessel/Paths.hpp"
#endif

namespace KaTessel {

#ifdef _WIN32

std::FILE* openFile(const char* path, const char* mode) {
    const std::string letters = mode;
    return _wfopen(pathOf(path).c_str(), std::wstring(letters.begin(), letters.end()).c_str());
}

bool fileExists(const char* path) {
    struct _stat64 status;
    return path != nullptr && _wstat64(pathOf(path).c_str(), &status) == 0;
}

#else

std::FILE* openFile(const char* path, const char* mode) { return std::fopen(path, mode); }

bool fileExists(const char* path) {
    struct stat status;
    return stat(path, &status) == 0;
}

#endif

}  // namespace KaTessel
