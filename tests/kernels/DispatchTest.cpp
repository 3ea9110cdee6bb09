// Which variant computes, and that it can be chosen.
#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "katessel/InstructionSet.h"
#include "kernels/Kernels.h"

namespace KaTessel::tests {
namespace {

TEST(Dispatch, TheForcedVariantComputes) {
    if (const char* wanted = std::getenv("KATESSEL_ISA")) {
        EXPECT_STREQ(instructionSet(), wanted);
    }
    EXPECT_STREQ(kernels::active->name, instructionSet());
}

TEST(PlainDispatch, ListsForcesAndRefuses) {
    const std::string original = instructionSet();
    const std::vector<std::string> available = availableInstructionSets(), known = {"scalar", "sse2", "avx2", "avx512"};
    ASSERT_GE(available.size(), 2u);  // every x86-64 has the first two
    // Slowest first, and the last one is what the library starts with unless the environment names another.
    EXPECT_TRUE(std::equal(available.begin(), available.end(), known.begin()));
    EXPECT_TRUE(original == available.back() || std::getenv("KATESSEL_ISA") != nullptr);
    for (const std::string& name : available) {
        EXPECT_TRUE(forceInstructionSet(name));
        for (const char* refused : {"", "SSE2", "neon"}) EXPECT_FALSE(forceInstructionSet(refused));
        EXPECT_EQ(instructionSet(), name);
    }
    EXPECT_TRUE(forceInstructionSet(original));
}

}  // namespace
}  // namespace KaTessel::tests
