// Where the result goes: standard output, or a file that appears whole or not at all.
#pragma once

#include <filesystem>
#include <string>
#include <utility>

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
    std::string name() const;  // for messages

    std::filesystem::path m_path;  // empty: standard output; links followed, unless it is a device or a pipe
    bool m_direct = false;
};

// What becomes of a file that is destroyed before it is finished: none of it may be seen, or what has come is worth its name.
enum class Unfinished { removed, kept };

// A result that comes piece by piece. As a file it grows under a temporary name in its folder, NAME.RANDOM.part, and gets its
// own when it is finished.
class GrowingFile {
public:
    // Makes nothing yet.
    GrowingFile(OutputFile target, Unfinished unfinished) : m_target(std::move(target)), m_unfinished(unfinished) {}
    GrowingFile(const GrowingFile&) = delete;
    GrowingFile& operator=(const GrowingFile&) = delete;
    ~GrowingFile();

    // Hands the text to the system.
    void append(const std::string& text);

    void finish();

private:
    void open();
    int close(int error);  // returns 0 or an error number, the given one first

    OutputFile m_target;
    Unfinished m_unfinished;
    std::filesystem::path m_temporary;
    int m_descriptor = -1;  // -1: not open
};

}  // namespace katessel
