// What the programs of the tool have in common: a command line, and errors as one line and a status.
#pragma once

#include <CLI/CLI.hpp>
#include <vector>

namespace katessel {

// The body of main() for a program with these commands, each of which adds itself to the command line.
int runProgram(int argc, char** argv, const std::vector<void (*)(CLI::App&)>& commands);

}  // namespace katessel
