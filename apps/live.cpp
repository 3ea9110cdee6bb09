// What `katessel live` becomes.
#include "apps/Program.h"
#include "apps/commands/CommandList.h"

int main(int argc, char** argv) { return katessel::runProgram(argc, argv, {&katessel::addLiveCommand}); }
