// What the fuzzers share: the bytes of one run as a file, and the stop when something does not hold.
#pragma once

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

inline void require(bool condition) {
    if (!condition) std::abort();
}

// One file per process, in memory where the system has such a folder.
inline std::string scratchFile(const char* suffix = "") {
    static const std::string path =
        (access("/dev/shm", W_OK) == 0 ? "/dev/shm/katessel-fuzz-" : "/tmp/katessel-fuzz-") + std::to_string(getpid());
    return path + suffix;
}

// Also silences standard output: what the library prints about broken files is of no interest here.
inline void writeScratchFile(const std::uint8_t* data, std::size_t size) {
    static const bool silent = std::freopen("/dev/null", "w", stdout) != nullptr;
    std::FILE* file = std::fopen(scratchFile().c_str(), "wb");
    require(silent && file != nullptr && std::fwrite(data, 1, size, file) == size && std::fclose(file) == 0);
}
