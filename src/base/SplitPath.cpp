// Directory, name and extension of a path.
#include <algorithm>
#include <cstring>
#include <string_view>

#include "katessel/IniFile.h"

namespace KaTessel {
namespace {

void put(std::string_view part, char* buffer) {
    if (buffer == nullptr) return;
    std::memcpy(buffer, part.data(), part.size());
    buffer[part.size()] = '\0';
}

}  // namespace

void _splitpath(const char* path, char* drive, int, char* dir, int, char* name, int, char* ext, int) {
    const std::string_view whole = path != nullptr ? path : "";
    // One behind the last slash, 0 without any; a dot counts only behind it.
    const std::size_t nameStart = whole.rfind('/') + 1;
    const std::string_view file = whole.substr(nameStart);
    const std::size_t dot = std::min(file.rfind('.'), file.size());
    put("", drive);
    put(whole.substr(0, nameStart), dir);
    put(file.substr(0, dot), name);
    put(file.substr(dot), ext);
}

}  // namespace KaTessel
