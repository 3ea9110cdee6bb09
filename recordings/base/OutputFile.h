// Where the result goes: standard output, or a file that appears whole or not at all.
#pragma once

#include <filesystem>
#include <string>

namespace katessel {

class OutputFile {
public:
    // An empty path and "-" are standard output. Fails at once, before any work is done, when the path cannot be written.
    explicit OutputFile(const std::string& path);

    // Whether this is the same file as `other`.
    bool isSameAs(const std::string& other) const;

    // Writes the text: to a temporary name in the same folder, then renamed over what was there. Devices and
    // pipes are written directly.
    void write(const std::string& text) const;

    // Whether it is standard output, and that a terminal.
    bool isTerminal() const;

    // For a process that is about to end: removes the temporary files of every thread and lets no new ones come.
    static void abandonAll();

private:
    void replaceWith(const std::string& text) const;

    std::filesystem::path m_path;  // links followed, unless it is a device or a pipe
    bool m_direct = false;
};

}  // namespace katessel
