#include "Levels.h"

#include <algorithm>
#include <cmath>

namespace katessel::training {

double decibels(double value) { return std::pow(10.0, value / 20.0); }

double level(const Samples& samples) {
    double sum = 0.0;
    for (const float x : samples) sum += static_cast<double>(x) * x;
    return std::sqrt(sum / static_cast<double>(std::max<std::size_t>(samples.size(), 1)));
}

double voicedLevel(const LabelledSound& sound) {
    double sum = 0.0, count = 0.0;
    for (std::size_t f = 0; f < sound.pitch.size(); ++f) {
        if (sound.pitch[f] <= 0.0f) continue;
        const std::size_t begin = kCentre - kHop / 2 + f * kHop;
        for (std::size_t i = begin; i < begin + kHop; ++i)
            sum += static_cast<double>(sound.samples[i]) * sound.samples[i];
        count += kHop;
    }
    return count > 0.0 ? std::sqrt(sum / count) : level(sound.samples);
}

double peakOf(const Samples& samples) {
    float highest = 0.0f;
    for (const float x : samples) highest = std::max(highest, std::fabs(x));
    return highest;
}

void scale(Samples& samples, double gain) {
    for (float& x : samples) x *= static_cast<float>(gain);
}

void add(Samples& samples, const Samples& other, double gain) {
    for (std::size_t i = 0; i < std::min(samples.size(), other.size()); ++i)
        samples[i] += static_cast<float>(gain) * other[i];
}

void addAtLevel(Samples& samples, const Samples& other, double reference, double gain) {
    const double theirs = level(other);
    if (theirs > 0.0) add(samples, other, gain * reference / theirs);
}

}  // namespace katessel::training
