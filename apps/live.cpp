// What `katessel live` becomes.
#include "apps/Program.h"
#include "apps/commands/Commands.h"

int main(int argc, char** argv) { return katessel::runProgram(argc, argv, {&katessel::addLiveCommand}); }
