#include "Noises.h"

#include <algorithm>
#include <cmath>

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

// Gusts and pauses: a slow, random gain.
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

}  // namespace

Samples drawNoise(int samples, Random& random) {
    Samples out(static_cast<std::size_t>(samples), 0.0f);
    const int parts = 1 + random.below(2);
    for (int p = 0; p < parts; ++p) {
        switch (random.below(5)) {
            case 0:
            case 1: addColoured(out, random); break;
            case 2:
            case 3: addWandering(out, random); break;
            default: addImpulses(out, random);
        }
    }
    if (random.chance(0.5)) modulate(out, random);
    return out;
}

Samples drawWhite(int samples, Random& random) {
    Samples out(static_cast<std::size_t>(samples));
    for (float& sample : out) sample = random.white();
    return out;
}

Samples drawHum(int samples, Random& random) {
    Samples out(static_cast<std::size_t>(samples), 0.0f);
    const double mains = random.chance(0.5) ? 50.0 : 60.0;
    for (int k = 1; k <= 12; ++k) {
        const double level = std::pow(static_cast<double>(k), -random.uniform(0.3, 2.0)),
                     phase = random.uniform(0.0, 6.28);
        for (std::size_t i = 0; i < out.size(); ++i)
            out[i] +=
                static_cast<float>(level * std::sin(phase + 2.0 * M_PI * k * mains * static_cast<double>(i) / kRate));
    }
    return out;
}
