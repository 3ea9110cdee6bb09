#include "support/Random.h"

#include <cstdlib>

namespace KaTessel::tests {

std::uint64_t seed() {
    static const std::uint64_t value = [] {
        const char* given = std::getenv("KATESSEL_TEST_SEED");
        return given != nullptr && *given != '\0' ? std::strtoull(given, nullptr, 10) : 20240611ull;
    }();
    return value;
}

}  // namespace KaTessel::tests
