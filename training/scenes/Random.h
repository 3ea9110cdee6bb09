// Random draws of the training sound. Every example has a generator of its own, seeded by its number, so that a run
// gives the same examples however often it is stopped and resumed.
#ifndef KATESSEL_TRAINING_RANDOM_H
#define KATESSEL_TRAINING_RANDOM_H

#include <cmath>
#include <cstdint>
#include <random>

namespace katessel::training {

class Random {
public:
    explicit Random(std::uint64_t seed) : m_engine(seed * 0x9E3779B97F4A7C15ull + 1) {}

    double uniform(double low, double high) { return std::uniform_real_distribution<double>(low, high)(m_engine); }
    double logUniform(double low, double high) { return std::exp(uniform(std::log(low), std::log(high))); }
    double normal() { return m_normal(m_engine); }
    int below(int count) { return std::uniform_int_distribution<int>(0, count - 1)(m_engine); }
    bool chance(double probability) { return uniform(0.0, 1.0) < probability; }

    // White noise, uniform and cheap: only its spectrum is heard.
    float white() {
        m_state = m_state * 6364136223846793005ull + 1442695040888963407ull;
        return static_cast<float>(static_cast<std::int32_t>(m_state >> 32)) * 4.656613e-10f;
    }

private:
    std::mt19937_64 m_engine;
    std::normal_distribution<double> m_normal;
    std::uint64_t m_state = m_engine();
};

}  // namespace katessel::training

#endif
