// Benchmarks of the library on one thread. KATESSEL_ISA=scalar|sse2|avx2|avx512 forces a variant.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>

#include "katessel/InstructionSet.h"

int main(int argc, char** argv) {
    if (const char* isa = std::getenv("KATESSEL_ISA"); isa != nullptr && !KaTessel::forceInstructionSet(isa)) {
        std::fprintf(stderr, "katessel-benchmarks: KATESSEL_ISA=%s: this machine cannot run it\n", isa);
        return 2;
    }
    benchmark::AddCustomContext("instruction_set", KaTessel::instructionSet());
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
