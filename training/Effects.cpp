// Filters: R. Bristow-Johnson, "Cookbook formulae for audio EQ biquad filter coefficients".
#include "Effects.h"

#include <algorithm>
#include <cmath>
#include <complex>

namespace {

struct Biquad {
    double b0, b1, b2, a1, a2;

    void apply(Samples& samples) const {
        double z1 = 0.0, z2 = 0.0;
        for (float& sample : samples) {
            const double x = sample, y = b0 * x + z1;
            z1 = b1 * x - a1 * y + z2;
            z2 = b2 * x - a2 * y;
            sample = static_cast<float>(y);
        }
    }
};

Biquad peak(double hz, double quality, double decibels) {
    const double w = 2.0 * M_PI * hz / kRate, alpha = std::sin(w) / (2.0 * quality),
                 a = std::pow(10.0, decibels / 40.0);
    const double norm = 1.0 + alpha / a;
    return {(1.0 + alpha * a) / norm, -2.0 * std::cos(w) / norm, (1.0 - alpha * a) / norm, -2.0 * std::cos(w) / norm,
            (1.0 - alpha / a) / norm};
}

Biquad pass(double hz, bool high) {
    const double w = 2.0 * M_PI * hz / kRate, c = std::cos(w), alpha = std::sin(w) / std::sqrt(2.0), norm = 1.0 + alpha;
    const double edge = (high ? 1.0 + c : 1.0 - c) / 2.0 / norm;
    return {edge, (high ? -2.0 : 2.0) * edge, edge, -2.0 * c / norm, (1.0 - alpha) / norm};
}

constexpr float kMuLaw = 255.0f;

float muLawSteps(float x) {
    const float bounded = std::clamp(x, -1.0f, 1.0f);
    const float compressed = std::round(127.0f * std::log1p(kMuLaw * std::fabs(bounded)) / std::log1p(kMuLaw)) / 127.0f;
    return std::copysign(std::expm1(compressed * std::log1p(kMuLaw)) / kMuLaw, bounded);
}

double peakOf(const Samples& samples) {
    float highest = 0.0f;
    for (const float x : samples) highest = std::max(highest, std::fabs(x));
    return highest;
}

}  // namespace

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

void scale(Samples& samples, double gain) {
    for (float& x : samples) x *= static_cast<float>(gain);
}

void add(Samples& samples, const Samples& other, double gain) {
    for (std::size_t i = 0; i < std::min(samples.size(), other.size()); ++i)
        samples[i] += static_cast<float>(gain) * other[i];
}

void equalise(Samples& samples, Random& random) {
    const int peaks = 1 + random.below(3);
    for (int p = 0; p < peaks; ++p)
        peak(random.logUniform(60.0, 9000.0), random.logUniform(0.3, 4.0), random.uniform(-12.0, 12.0)).apply(samples);
    if (random.chance(0.25)) pass(random.logUniform(40.0, 400.0), true).apply(samples);
    if (random.chance(0.25)) pass(random.logUniform(1500.0, 9000.0), false).apply(samples);
}

void telephone(Samples& samples, Random& random) {
    const double low = random.uniform(200.0, 350.0), high = random.uniform(3000.0, 3800.0);
    for (int i = 0; i < 2; ++i) pass(low, true).apply(samples);
    for (int i = 0; i < 4; ++i) pass(high, false).apply(samples);
    const double highest = peakOf(samples);
    if (highest <= 0.0) return;
    const double loud = random.logUniform(0.05, 1.0) / highest;
    scale(samples, loud);
    for (float& x : samples) x = muLawSteps(x);
    scale(samples, 1.0 / loud);
}

void clip(Samples& samples, Random& random) {
    const float limit = static_cast<float>(peakOf(samples) * random.logUniform(0.1, 0.8));
    if (limit <= 0.0f) return;
    const bool soft = random.chance(0.5);
    for (float& x : samples) x = soft ? limit * std::tanh(x / limit) : std::clamp(x, -limit, limit);
}

void reverberate(LabelledSound& sound, Random& random) {
    const double seconds = random.logUniform(0.1, 1.0);                    // to -60 dB
    const double wet = std::pow(10.0, random.uniform(-22.0, 2.0) / 20.0);  // the room's answer against the voice
    const double damping = random.uniform(0.2, 0.8);                       // of high frequencies
    const Samples dry = sound.samples;
    Samples room(dry.size(), 0.0f);
    double energy = 0.0;
    const std::size_t longest = std::min(static_cast<std::size_t>(seconds * 0.75 * kRate), dry.size());
    for (double at = random.uniform(30.0, 400.0); at < static_cast<double>(longest);
         at += random.uniform(10.0, 110.0)) {
        const std::size_t delay = static_cast<std::size_t>(at);
        const float gain =
            static_cast<float>((random.chance(0.5) ? 1.0 : -1.0) * std::exp(-6.9 * at / kRate / seconds));
        energy += static_cast<double>(gain) * gain;
        for (std::size_t i = delay; i < dry.size(); ++i) room[i] += gain * dry[i - delay];
    }
    if (energy <= 0.0) return;
    const float pole = static_cast<float>(damping);
    float low = 0.0f;
    for (float& x : room) x = low += (1.0f - pole) * (x - low);
    add(sound.samples, room, wet / std::sqrt(energy));

    // A pause in which the room still answers is neither voiced nor silent.
    for (std::size_t f = 0; f < sound.pitch.size(); ++f) {
        double own = 0.0, answer = 0.0;
        for (std::size_t i = f * kHop + kCentre - kHop; i < f * kHop + kCentre + kHop; ++i) {
            own += static_cast<double>(dry[i]) * dry[i];
            answer += std::pow(wet * room[i], 2) / energy;
        }
        if (answer > own && answer > 0.0) sound.pitch[f] = kUnknown;
    }
}
