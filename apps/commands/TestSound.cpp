#include "apps/commands/TestSound.h"

#include <cmath>
#include <numbers>
#include <random>

namespace katessel {

std::vector<float> makeTestSound(int rate, double seconds) {
    constexpr int kHarmonics = 10;
    constexpr double kTurn = 2.0 * std::numbers::pi;
    std::minstd_rand noise;  // starts at 1
    std::uniform_real_distribution<float> level(-0.01f, 0.01f);
    std::vector<float> sound(static_cast<std::size_t>(seconds * rate));
    double phase = 0.0;
    for (std::size_t i = 0; i < sound.size(); ++i) {
        const double t = static_cast<double>(i) / rate;
        phase += kTurn * 200.0 * std::exp2(std::sin(kTurn * 0.3 * t)) / rate;
        double sum = 0.0;
        for (int h = 1; h <= kHarmonics; ++h)
            if (h * 400.0 < 0.5 * rate) sum += std::sin(h * phase) / h;
        sound[i] = static_cast<float>(0.2 * sum) + level(noise);
    }
    return sound;
}

}  // namespace katessel
