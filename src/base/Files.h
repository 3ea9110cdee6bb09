// Files by their names, which are UTF-8 on every machine.
#pragma once

#include <cstdio>

namespace KaTessel {

// As std::fopen.
std::FILE* openFile(const char* path, const char* mode);

bool fileExists(const char* path);

}  // namespace KaTessel
