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
    const std::vector<std::string> available = availableInstructionSets();
    const std::string known = KATESSEL_VARIANTS;  // those that were built, slowest first
    std::string joined;
    for (const std::string& name : available) joined.append(joined.empty() ? "" : " ").append(name);
    EXPECT_TRUE(known.starts_with(joined)) << joined;
    EXPECT_GE(available.size(), known.back() == ' ' ? 1u : 2u);  // the first vectors run everywhere
    // The last one is what the library starts with unless the environment names another.
    EXPECT_TRUE(original == available.back() || std::getenv("KATESSEL_ISA") != nullptr);
    for (const std::string& name : available) {
        EXPECT_TRUE(forceInstructionSet(name));
        for (const char* refused : {"", "SSE2", "avx9000"}) EXPECT_FALSE(forceInstructionSet(refused));
        EXPECT_EQ(instructionSet(), name);
    }
    EXPECT_TRUE(forceInstructionSet(original));
}

}  // namespace
}  // namespace KaTessel::tests
