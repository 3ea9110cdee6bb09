// Picks the kernels when the library is loaded, and others on request.
#include "kernels/Kernels.h"

#include "katessel/InstructionSet.h"

#ifdef KATESSEL_NEON_OPTIONAL
#include <asm/hwcap.h>
#include <sys/auxv.h>
#endif

namespace KaTessel {
namespace kernels {
namespace {

struct Variant {
    const Kernels* kernels;
    bool (*runsHere)();
};

#ifdef KATESSEL_NEON
#ifdef KATESSEL_NEON_OPTIONAL
bool hasNeon() {
    constexpr unsigned long kNeeded = HWCAP_NEON | HWCAP_VFPv4;
    return (getauxval(AT_HWCAP) & kNeeded) == kNeeded;
}
#else
bool hasNeon() { return true; }  // part of every 64-bit ARM
#endif
#endif

// Those that were built, slowest first.
const Variant kVariants[] = {
    {&kScalar, [] { return true; }},
#ifdef KATESSEL_SIMD128
    {&kSimd128, [] { return true; }},  // a module with vectors does not load without them
#endif
#ifdef KATESSEL_NEON
    {&kNeon, hasNeon},
#endif
#ifdef KATESSEL_SSE2
    {&kSse2, [] { return __builtin_cpu_supports("sse2") != 0; }},
    {&kAvx2, [] { return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma"); }},
    {&kAvx512,
     [] {
         return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
                __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl");
     }},
#endif
};

const Kernels& fastest() {
#ifdef KATESSEL_SSE2
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
