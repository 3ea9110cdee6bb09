// Where the result goes: standard output, or a file that appears whole or not at all.
#pragma once

#include <filesystem>
#include <string>

namespace katessel {

class OutputFile {
public:
    // An empty path and "-" are standard output. Fails at once, before any work is done, when the path cannot be written.
    explicit OutputFile(const std::string& path);

    // Writes the text: to a temporary name in the same folder, which nobody else has, then renamed over what was there once
    // it is on the disk. Devices and pipes are written directly.
    void write(const std::string& text) const;

    // Whether it is standard output, and that a terminal.
    bool isTerminal() const;

    // For a process that is about to end: removes the temporary files of every thread and lets no new ones come.
    static void abandonAll();

private:
    friend class GrowingFile;
    void replaceWith(const std::string& text) const;

    std::filesystem::path m_path;  // links followed, unless it is a device or a pipe
    bool m_direct = false;
};

// A file that comes piece by piece over a long time. It grows under a temporary name in its folder, NAME.RANDOM.part, so
// that whatever ends the process leaves what has come, and gets its own name when it is finished or destroyed.
class GrowingFile {
public:
    // Fails at once when the path cannot be written; makes nothing yet.
    explicit GrowingFile(const std::string& path) : m_target(path) {}
    GrowingFile(const GrowingFile&) = delete;
    GrowingFile& operator=(const GrowingFile&) = delete;
    ~GrowingFile();

    // Hands the text to the system.
    void append(const std::string& text);

    void finish();

private:
    void open();
    int close();  // returns 0 or an error number

    OutputFile m_target;
    std::filesystem::path m_temporary;
    int m_descriptor = -1;  // -1: not open
};

}  // namespace katessel
