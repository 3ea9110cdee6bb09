// Which vector instructions the library computes with.
//
// The arithmetic kernels exist once per instruction set; the best one that the machine has is chosen when the
// library is loaded. Tests and tools may force another one to compare them; results agree to float rounding.
#ifndef KATESSEL_INSTRUCTIONSET_H
#define KATESSEL_INSTRUCTIONSET_H

#include <string>
#include <vector>

#include "katessel/Export.h"

namespace KaTessel {

// Name of the variant in use: "scalar", "sse2", "avx2" or "avx512".
KATESSEL_API const char* instructionSet();

// Names of the variants that this machine can run, slowest first.
KATESSEL_API std::vector<std::string> availableInstructionSets();

// Computes with the named variant from now on. Returns false, changing nothing, when the name is unknown or
// the machine cannot run it. What another thread is just computing may go on with the variant before.
KATESSEL_API bool forceInstructionSet(const std::string& name);

}  // namespace KaTessel

#endif
