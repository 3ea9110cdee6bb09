// Sounds with known pitch.
#pragma once

#include <cmath>
#include <cstddef>
#include <vector>

namespace KaTessel::tests {

// Harmonics up to 7 kHz of a fundamental that goes from `first` to `last` Hz, evenly in octaves.
inline std::vector<float> glide(int rate, double seconds, double first, double last) {
    std::vector<float> samples(static_cast<std::size_t>(std::lround(rate * seconds)));
    double phase = 0.0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double way = static_cast<double>(i) / static_cast<double>(samples.size());
        const double frequency = first * std::pow(last / first, way);
        for (int h = 1; h <= 6 && h * frequency < 0.45 * rate; ++h)
            samples[i] += static_cast<float>(0.2 / h * std::sin(h * phase));
        phase += 2.0 * 3.14159265358979323846 * frequency / rate;
    }
    return samples;
}

inline std::vector<float> tone(int rate, double seconds, double frequency) {
    return glide(rate, seconds, frequency, frequency);
}

}  // namespace KaTessel::tests
