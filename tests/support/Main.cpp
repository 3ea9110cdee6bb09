// Runs the tests with the instruction set that KATESSEL_ISA names, or with the library's own choice.
#include <cstdio>
#include <cstdlib>

#include "gtest/gtest.h"
#include "katessel/InstructionSet.h"
#include "support/Random.h"

namespace {

constexpr int kExitSkipped = 77;  // what CTest takes for "not on this machine"

// Once tests really run: a mere list of them must stay free of other text.
class Announcement : public testing::Environment {
    void SetUp() override {
        std::printf("instruction set %s, seed %llu (KATESSEL_TEST_SEED)\n", KaTessel::instructionSet(),
                    static_cast<unsigned long long>(KaTessel::tests::seed()));
        std::fflush(stdout);
    }
};

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (const char* wanted = std::getenv("KATESSEL_ISA"); wanted != nullptr && *wanted != '\0') {
        if (!KaTessel::forceInstructionSet(wanted)) {
            std::fprintf(stderr, "KATESSEL_ISA=%s: not scalar, sse2, avx2 or avx512, or not on this machine\n", wanted);
            return kExitSkipped;
        }
    }
    testing::AddGlobalTestEnvironment(new Announcement);
    return RUN_ALL_TESTS();
}
