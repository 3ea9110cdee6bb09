#include "recordings/audio/MemoryFile.h"

#include <algorithm>
#include <cstdio>

namespace katessel {

namespace {

MemoryFile& fileOf(void* user) { return *static_cast<MemoryFile*>(user); }

sf_count_t length(void* user) { return fileOf(user).size(); }
sf_count_t tell(void* user) { return fileOf(user).position; }

// A place behind the end is one to write at; there is nothing to read.
sf_count_t seek(sf_count_t offset, int whence, void* user) {
    MemoryFile& file = fileOf(user);
    const sf_count_t origin = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? file.position : file.size();
    file.position = std::max<sf_count_t>(origin + offset, 0);
    return file.position;
}

sf_count_t read(void* to, sf_count_t count, void* user) {
    MemoryFile& file = fileOf(user);
    const sf_count_t there = std::clamp<sf_count_t>(file.size() - file.position, 0, count);
    std::copy_n(file.bytes.data() + std::min(file.position, file.size()), there, static_cast<char*>(to));
    file.position += there;
    return there;
}

sf_count_t write(const void* from, sf_count_t count, void* user) {
    MemoryFile& file = fileOf(user);
    const auto end = static_cast<std::size_t>(file.position + count);
    if (end > file.bytes.size()) file.bytes.resize(end);
    std::copy_n(static_cast<const char*>(from), count, file.bytes.data() + file.position);
    file.position += count;
    return count;
}

}  // namespace

SNDFILE* openMemory(MemoryFile& file, int mode, SF_INFO& info) {
    SF_VIRTUAL_IO access = {&length, &seek, &read, &write, &tell};
    return sf_open_virtual(&access, mode, &info, &file);
}

}  // namespace katessel
