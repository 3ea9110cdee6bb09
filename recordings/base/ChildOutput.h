// What another program writes to its standard output, read while it runs.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <vector>

namespace katessel {

class ChildOutput {
public:
    // Starts the program that the first argument names and the PATH finds, with nothing to read.
    explicit ChildOutput(const std::vector<std::string>& arguments);

    // Ends the program if it still runs.
    ~ChildOutput();
    ChildOutput(const ChildOutput&) = delete;
    ChildOutput& operator=(const ChildOutput&) = delete;

    // Why the program could not be started, an error number; 0: it was.
    int startError() const { return m_startError; }

    // Reads `count` bytes; fewer at the end only.
    std::size_t read(void* bytes, std::size_t count);

    // Waits for the program's end. Returns the first line that it wrote to standard error, else how it ended; empty: well.
    std::string finish();

private:
    int m_startError = 0;
    pid_t m_process = -1;
    int m_output = -1;    // descriptor to read from
    int m_messages = -1;  // of a file in memory, which never makes the program wait
};

}  // namespace katessel
