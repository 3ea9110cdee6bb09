// Picks the kernels when the library is loaded, and others on request.
#include "kernels/Kernels.h"

#include "katessel/InstructionSet.h"

namespace KaTessel {
namespace kernels {
namespace {

struct Variant {
    const Kernels* kernels;
    bool (*runsHere)();
};

// Slowest first.
const Variant kVariants[] = {
    {&kScalar, [] { return true; }},
#ifdef __x86_64__
    {&kSse2, [] { return true; }},  // part of every x86-64
    {&kAvx2, [] { return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma"); }},
    {&kAvx512,
     [] {
         return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
                __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl");
     }},
#endif
};

const Kernels& fastest() {
#ifdef __x86_64__
    __builtin_cpu_init();
#endif
    const Kernels* best = &kScalar;
    for (const Variant& variant : kVariants)
        if (variant.runsHere()) best = variant.kernels;
    return *best;
}

}  // namespace

ActiveKernels active(fastest());

}  // namespace kernels

const char* instructionSet() { return kernels::active->name; }

std::vector<std::string> availableInstructionSets() {
    std::vector<std::string> names;
    for (const kernels::Variant& variant : kernels::kVariants)
        if (variant.runsHere()) names.emplace_back(variant.kernels->name);
    return names;
}

bool forceInstructionSet(const std::string& name) {
    for (const kernels::Variant& variant : kernels::kVariants) {
        if (name == variant.kernels->name && variant.runsHere()) {
            kernels::active.use(*variant.kernels);
            return true;
        }
    }
    return false;
}

}  // namespace KaTessel
