// Text line by line, or all bytes, of files that have an end.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace katessel {

// Calls onLine(line, number) for every line of a file, of standard input ("-"), or of a pipe that the shell has opened
// (<(..)). Fails with `what` where there is nothing that can be read, at a pipe or device by name, which may never end,
// and at a line longer than any of ours.
void forEachLine(const std::string& path, const char* what,
                 const std::function<void(const std::string& line, std::size_t number)>& onLine);

// All bytes of a file, at most 4 GB. Fails with `what`, having expected `kind`, "a track", where there is none that can be read.
std::string readFile(const std::string& path, const char* what, const std::string& kind);

// What a path leads to where it is there but no regular file: "a folder", "a pipe", ..; else empty.
std::string oddKind(const std::string& path);

}  // namespace katessel
