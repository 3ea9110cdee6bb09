#include "apps/commands/InstructionChoice.h"

#include <cstdlib>
#include <string>

#include "katessel/InstructionSet.h"
#include "recordings/base/Errors.h"

namespace katessel {

void applyInstructionChoice() {
    const char* name = std::getenv("KATESSEL_ISA");
    if (name == nullptr || *name == '\0' || KaTessel::forceInstructionSet(name)) return;
    std::string possible;
    for (const std::string& available : KaTessel::availableInstructionSets()) {
        if (!possible.empty()) possible += ", ";
        possible += available;
    }
    failUsage("wrong instruction set", "KATESSEL_ISA", "one of " + possible, name);
}

}  // namespace katessel
