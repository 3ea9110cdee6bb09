// Reproducible random numbers: everything follows from one seed, which is printed and can be given.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <random>
#include <vector>

namespace KaTessel::tests {

// KATESSEL_TEST_SEED, else a fixed number.
inline std::uint64_t seed() {
    const char* given = std::getenv("KATESSEL_TEST_SEED");
    return given != nullptr && *given != '\0' ? std::strtoull(given, nullptr, 10) : 20240611ull;
}

// An independent generator per `stream`, so that a test's numbers do not depend on the tests before it.
class Random {
public:
    explicit Random(std::uint64_t stream) : m_engine(seed() * 1000003u + stream) {}

    // Evenly spread over lo .. hi.
    float uniform(float lo, float hi) {
        const double unit = static_cast<double>(m_engine() >> 11) / 9007199254740992.0;
        return static_cast<float>(lo + (hi - lo) * unit);
    }

    // One of lo, lo + 1, .. hi.
    int integer(int lo, int hi) {
        return lo + static_cast<int>(m_engine() % (static_cast<std::uint64_t>(hi - lo) + 1));
    }

    std::vector<float> values(int n, float lo = -1.0f, float hi = 1.0f) {
        std::vector<float> v(static_cast<std::size_t>(n));
        for (float& x : v) x = uniform(lo, hi);
        return v;
    }

private:
    std::mt19937_64 m_engine;
};

}  // namespace KaTessel::tests
