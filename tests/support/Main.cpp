// Runs the tests with the instruction set that KATESSEL_ISA names, or with the library's own choice.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "gtest/gtest.h"
#include "katessel/InstructionSet.h"
#include "support/Random.h"

namespace {

constexpr int kExitSkipped = 77;  // what CTest takes for "not on this machine"
constexpr int kExitUnknown = 2;

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
        const std::string name = wanted;
        if (name != "scalar" && name != "sse2" && name != "avx2" && name != "avx512") {
            std::fprintf(stderr, "KATESSEL_ISA=%s: expected scalar, sse2, avx2 or avx512\n", wanted);
            return kExitUnknown;
        }
        if (!KaTessel::forceInstructionSet(name)) {
            std::fprintf(stderr, "this machine lacks %s\n", wanted);
            return kExitSkipped;
        }
    }
    testing::AddGlobalTestEnvironment(new Announcement);
    return RUN_ALL_TESTS();
}
