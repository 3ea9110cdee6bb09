// What the programs of the tool have in common: a command line, and errors as one line and a status.
#pragma once

#include <vector>

#include "apps/commands/CommandList.h"

namespace katessel {

// A command that is a program of its own: here it has its name.
struct OtherProgram {
    const char* command;
    const char* summary;
};

// The body of main() for a program with these commands, each of which adds itself to the command line, and with the names of
// others.
int runProgram(int argc, char** argv, const std::vector<void (*)(CLI::App&)>& commands,
               const std::vector<OtherProgram>& others = {});

}  // namespace katessel
