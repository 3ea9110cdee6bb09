#include "recordings/base/TextFile.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <system_error>

#include "recordings/base/Errors.h"

namespace katessel {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kLongestLine = 1 << 16;  // [bytes]

bool isOpenedByTheShell(const std::string& path) {
    return path.starts_with("/dev/fd/") || path.starts_with("/proc/self/fd/") || path == "/dev/stdin";
}

void readLines(std::istream& in, const std::string& path, const char* what,
               const std::function<void(const std::string&, std::size_t)>& onLine) {
    std::string line(kLongestLine, '\0');
    for (std::size_t number = 1; in.getline(line.data(), static_cast<std::streamsize>(line.size())); ++number)
        onLine(line.substr(0, static_cast<std::size_t>(in.gcount()) - (in.eof() ? 0 : 1)), number);
    if (in.bad()) fail(what, path, "lines up to its end", std::strerror(errno));
    if (!in.eof()) fail(what, path, "lines of less than " + std::to_string(kLongestLine) + " bytes", "a longer one");
}

}  // namespace

void forEachLine(const std::string& path, const char* what,
                 const std::function<void(const std::string& line, std::size_t number)>& onLine) {
    if (path == "-") return readLines(std::cin, path, what, onLine);
    const std::string odd = oddKind(path);
    if (!odd.empty() && !(odd == "a pipe" && isOpenedByTheShell(path))) fail(what, path, "a text file", odd);
    std::ifstream file(path);
    if (!file) fail(what, path, "a text file", std::strerror(errno));
    readLines(file, path, what, onLine);
}

std::string readFile(const std::string& path, const char* what, const std::string& kind) {
    constexpr std::uintmax_t kMost = 4'000'000'000;
    const std::string odd = oddKind(path);
    if (!odd.empty()) fail(what, path, kind, odd);
    std::ifstream file(path, std::ios::binary);
    std::error_code error;
    const std::uintmax_t size = fs::file_size(path, error);
    if (!file || error) fail(what, path, kind, file ? error.message() : std::strerror(errno));
    if (size > kMost) fail(what, path, kind, "one of more than 4 GB");
    std::string bytes(size, '\0');
    file.read(bytes.data(), static_cast<std::streamsize>(size));
    if (file.gcount() != static_cast<std::streamsize>(size)) fail(what, path, kind + " up to its end", "a part of it");
    return bytes;
}

std::string oddKind(const std::string& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (fs::is_directory(status)) return "a folder";
    if (fs::is_fifo(status)) return "a pipe";
    if (fs::is_socket(status)) return "a socket";
    return fs::is_other(status) ? "a device" : "";
}

}  // namespace katessel
