#include "Noises.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "Levels.h"
#include "Spectrum.h"

namespace katessel::training {

namespace {

// Two one-pole filters in series tilt white noise; blended with the white noise itself they give any colour between.
void addColoured(Samples& out, Random& random) {
    const double corner = random.logUniform(20.0, 6000.0);
    const float pole = static_cast<float>(std::exp(-2.0 * M_PI * corner / kRate));
    const bool high = random.chance(0.3), twice = random.chance(0.5);
    const float white = static_cast<float>(random.chance(0.5) ? random.logUniform(0.01, 1.0) : 0.0);
    const float gain = std::sqrt((1.0f + pole) / (1.0f - pole));
    float first = 0.0f, second = 0.0f;
    for (float& sample : out) {
        const float x = random.white();
        first += (1.0f - pole) * (x - first);
        second += (1.0f - pole) * (first - second);
        const float low = twice ? second : first;
        sample += white * x + (high ? x - low : gain * low);
    }
}

// Noise through a resonance that wanders: wind, water, friction.
void addWandering(Samples& out, Random& random) {
    double octave = random.uniform(-2.0, 4.5);
    const double quality = random.logUniform(0.4, 8.0), restless = random.logUniform(0.005, 0.15);
    float y1 = 0.0f, y2 = 0.0f, a1 = 0.0f, a2 = 0.0f, b = 0.0f;
    for (std::size_t i = 0; i < out.size(); ++i) {
        if (i % kHop == 0) {
            octave = std::clamp(octave + restless * random.normal(), -2.5, 5.0);
            const double hz = 220.0 * std::exp2(octave), radius = std::exp(-M_PI * hz / quality / kRate);
            a1 = static_cast<float>(2.0 * radius * std::cos(2.0 * M_PI * hz / kRate));
            a2 = static_cast<float>(-radius * radius);
            b = static_cast<float>((1.0 - radius) * 2.0);
        }
        const float y = b * random.white() + a1 * y1 + a2 * y2;
        y2 = y1;
        y1 = y;
        out[i] += y;
    }
}

// Separate impulses that ring for a moment: rain, fire, dishes.
void addImpulses(Samples& out, Random& random) {
    const double perSecond = random.logUniform(3.0, 3000.0), spread = random.uniform(0.0, 1.5);
    float y1 = 0.0f, y2 = 0.0f, a1 = 0.0f, a2 = 0.0f;
    for (float& sample : out) {
        float x = 0.0f;
        if (random.chance(perSecond / kRate)) {
            x = static_cast<float>(std::exp(spread * random.normal()));
            const double hz = random.logUniform(300.0, 8000.0),
                         radius = std::exp(-M_PI * random.logUniform(200.0, 4000.0) / kRate);
            a1 = static_cast<float>(2.0 * radius * std::cos(2.0 * M_PI * hz / kRate));
            a2 = static_cast<float>(-radius * radius);
        }
        const float y = x + a1 * y1 + a2 * y2;
        y2 = y1;
        y1 = y;
        sample += y;
    }
}

// Chopped: a gain that repeats 2 to 60 times a second, as of rotors, footsteps or insects.
void chop(Samples& out, Random& random) {
    const double rate = random.logUniform(2.0, 60.0), sharpness = random.logUniform(0.3, 8.0),
                 depth = random.uniform(0.3, 1.0);
    double phase = random.uniform(0.0, 1.0), wander = 1.0;
    for (std::size_t i = 0; i < out.size(); ++i) {
        if (i % kHop == 0) wander = std::clamp(wander + 0.03 * random.normal(), 0.7, 1.4);
        phase += rate * wander / kRate;
        const double wave = 0.5 + 0.5 * std::cos(2.0 * M_PI * phase);
        out[i] *= static_cast<float>(1.0 - depth + depth * std::pow(wave, sharpness));
    }
}

// Decibels at every bin: a random walk over the third-octaves.
std::vector<float> drawCurve(std::size_t bins, Random& random) {
    constexpr double kLowestKnot = 30.0, kKnotsPerOctave = 3.0;
    const double restless = random.uniform(0.0, 5.0), tilt = random.uniform(-10.0, 3.0) / kKnotsPerOctave;
    std::vector<double> knots = {0.0};
    while (knots.size() < 30) knots.push_back(knots.back() + tilt + restless * random.normal());
    std::vector<float> curve;
    for (std::size_t b = 0; b < bins; ++b) {
        const double hz = std::max(kLowestKnot, static_cast<double>(b) * kRate / 2.0 / static_cast<double>(bins));
        const double place = std::log2(hz / kLowestKnot) * kKnotsPerOctave;
        const std::size_t k = static_cast<std::size_t>(place);
        curve.push_back(static_cast<float>(knots[k] + (knots[k + 1] - knots[k]) * (place - static_cast<double>(k))));
    }
    return curve;
}

}  // namespace

Samples drawNoise(int samples, Random& random) {
    Samples out(static_cast<std::size_t>(samples), 0.0f);
    const int parts = 1 + random.below(2);
    for (int p = 0; p < parts; ++p) {
        const double kind = random.uniform(0.0, 1.0);
        if (kind < 0.4)
            addAtLevel(out, drawShaped(samples, random), 1.0, random.uniform(0.3, 1.0));
        else if (kind < 0.55)
            addColoured(out, random);
        else if (kind < 0.75)
            addWandering(out, random);
        else
            addImpulses(out, random);
    }
    if (random.chance(0.4)) modulate(out, random);
    if (random.chance(0.2)) chop(out, random);
    return out;
}

Samples drawWhite(int samples, Random& random) {
    Samples out(static_cast<std::size_t>(samples));
    for (float& sample : out) sample = random.white();
    return out;
}

Samples drawShaped(int samples, Random& random) {
    std::size_t size = 512;
    while (size < static_cast<std::size_t>(samples)) size *= 2;
    const std::vector<float> curve = drawCurve(size / 2 + 1, random);
    Bins bins(curve.size());
    for (std::size_t b = 1; b < bins.size(); ++b)
        bins[b] = std::exp(curve[b] * 0.115129f) * std::complex<float>(random.white(), random.white());
    const int resonances = random.chance(0.3) ? 1 + random.below(4) : 0;
    for (int r = 0; r < resonances; ++r) {
        const double centre = random.logUniform(50.0, 6000.0) * 2.0 / kRate * static_cast<double>(curve.size());
        const double width = centre / random.logUniform(2.0, 30.0), gain = random.uniform(1.0, 10.0);
        for (std::size_t b = 1; b < bins.size(); ++b) {
            const double x = (static_cast<double>(b) - centre) / width;
            if (std::fabs(x) < 4.0) bins[b] *= static_cast<float>(1.0 + gain * std::exp(-x * x));
        }
    }
    Samples out = inverse(bins, size);
    out.resize(static_cast<std::size_t>(samples));
    return out;
}

Samples drawFloor(int samples, Random& random) {
    Samples out(static_cast<std::size_t>(samples), 0.0f);
    addColoured(out, random);
    return out;
}

void modulate(Samples& out, Random& random) {
    const double speed = random.logUniform(0.005, 0.3), depth = random.uniform(0.3, 2.0);
    double now = 0.0, target = 0.0;
    float gain = 1.0f;
    for (std::size_t i = 0; i < out.size(); ++i) {
        if (i % kHop == 0) {
            if (random.chance(speed)) target = depth * random.normal();
            now += speed * (target - now);
        }
        gain += 0.005f * (static_cast<float>(std::exp(now)) - gain);
        out[i] *= gain;
    }
}

}  // namespace katessel::training
