#include "recordings/base/Errors.h"

#include <cstdio>

namespace katessel {

std::string errorMessage(const std::string& what, const std::string& where, const std::string& expected,
                         const std::string& found) {
    return what + ": " + where + ": expected " + expected + ", found " + found;
}

void fail(const std::string& what, const std::string& where, const std::string& expected, const std::string& found) {
    throw ToolError(errorMessage(what, where, expected, found), kStatusFailure);
}

void failUsage(const std::string& what, const std::string& where, const std::string& expected,
               const std::string& found) {
    throw ToolError(errorMessage(what, where, expected, found), kStatusUsage);
}

void printError(const std::string& message) {
    std::string line = "katessel: " + message;
    for (char& c : line)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = ' ';
    std::fprintf(stderr, "%s\n", line.c_str());
}

}  // namespace katessel
