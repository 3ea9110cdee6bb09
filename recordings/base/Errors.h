// How the tool fails: one line on standard error and an exit status.
#pragma once

#include <stdexcept>
#include <string>

namespace katessel {

constexpr int kStatusFailure = 1;  // the request was clear, but could not be carried out
constexpr int kStatusUsage = 2;    // the request itself is wrong

// Thrown by every part of the tool and printed by main.
class ToolError : public std::runtime_error {
public:
    ToolError(const std::string& message, int exitStatus) : std::runtime_error(message), m_status(exitStatus) {}
    int status() const { return m_status; }

private:
    int m_status;
};

// WHAT, as several places say it.
constexpr char kCannotWrite[] = "cannot write";
constexpr char kWrongUsage[] = "wrong usage";  // options do not fit together

// "WHAT: WHERE: expected EXPECTED, found FOUND".
std::string errorMessage(const std::string& what, const std::string& where, const std::string& expected,
                         const std::string& found);

// Throws that message.
[[noreturn]] void fail(const std::string& what, const std::string& where, const std::string& expected,
                       const std::string& found);
[[noreturn]] void failUsage(const std::string& what, const std::string& where, const std::string& expected,
                            const std::string& found);

// Prints "katessel: MESSAGE" as exactly one line: line breaks and control characters become blanks.
void printError(const std::string& message);

}  // namespace katessel
