// The bytes of one fuzzer run as a file.
#pragma once

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <string>

// One file per process, in memory where the system has such a folder.
inline std::string scratchFile(const char* suffix = "") {
    static const std::string path =
        (access("/dev/shm", W_OK) == 0 ? "/dev/shm/katessel-fuzz-" : "/tmp/katessel-fuzz-") + std::to_string(getpid());
    return path + suffix;
}

inline void writeScratchFile(const std::uint8_t* data, std::size_t size) {
    std::FILE* file = std::fopen(scratchFile().c_str(), "wb");
    if (file == nullptr) return;
    std::fwrite(data, 1, size, file);
    std::fclose(file);
}

// What the library prints about broken files is of no interest here.
inline void silenceStdout() {
    static const bool once = std::freopen("/dev/null", "w", stdout) != nullptr;
    static_cast<void>(once);
}
