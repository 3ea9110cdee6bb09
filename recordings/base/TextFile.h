// Text line by line, of files that have an end.
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

// What a path leads to where it is there but no regular file: "a folder", "a pipe", ..; else empty.
std::string oddKind(const std::string& path);

}  // namespace katessel
