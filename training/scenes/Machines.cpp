#include "Machines.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "Levels.h"
#include "Noises.h"

namespace katessel::training {

namespace {

constexpr int kOrders = 40;

// Partials of the given ratios to a speed [Hz] that wanders; each as a rotating phasor, turned anew in every frame.
void addPartials(Samples& out, double speed, double restless, const std::vector<double>& ratios,
                 const std::vector<double>& gains, Random& random) {
    std::vector<double> phases;
    for (std::size_t p = 0; p < ratios.size(); ++p) phases.push_back(random.uniform(0.0, 6.28));
    double drift = 0.0;
    for (std::size_t begin = 0; begin < out.size(); begin += kHop) {
        drift = 0.99 * drift + restless * random.normal();
        const std::size_t end = std::min(begin + kHop, out.size());
        for (std::size_t p = 0; p < ratios.size(); ++p) {
            const double turn = 2.0 * M_PI * speed * std::exp2(drift) * ratios[p] / kRate;
            if (turn > 0.9 * M_PI) continue;
            float re = static_cast<float>(gains[p] * std::cos(phases[p])),
                  im = static_cast<float>(gains[p] * std::sin(phases[p]));
            const float turnRe = static_cast<float>(std::cos(turn)), turnIm = static_cast<float>(std::sin(turn));
            for (std::size_t i = begin; i < end; ++i) {
                out[i] += im;
                const float turned = re * turnRe - im * turnIm;
                im = re * turnIm + im * turnRe;
                re = turned;
            }
            phases[p] = std::fmod(phases[p] + turn * static_cast<double>(end - begin), 2.0 * M_PI);
        }
    }
}

void addNoiseAround(Samples& out, double least, double most, Random& random) {
    addAtLevel(out, drawShaped(static_cast<int>(out.size()), random), std::max(level(out), 1e-6),
               decibels(random.uniform(least, most)));
}

}  // namespace

Samples drawHum(int samples, Random& random) {
    Samples out(static_cast<std::size_t>(samples), 0.0f);
    const double mains = (random.chance(0.5) ? 50.0 : 60.0) * (1.0 + 0.001 * random.normal());
    const double tilt = random.uniform(0.0, 2.0), even = decibels(random.uniform(-20.0, 10.0));
    std::vector<double> ratios, gains;
    const int count = 1 + random.below(24);
    for (int k = 1; k <= count; ++k) {
        ratios.push_back(k);
        gains.push_back(std::pow(static_cast<double>(k), -tilt) * (k % 2 == 0 ? even : 1.0) *
                        decibels(6.0 * random.normal()));
    }
    addPartials(out, mains, 0.0, ratios, gains, random);
    return out;
}

Samples drawEngine(int samples, Random& random) {
    Samples out(static_cast<std::size_t>(samples), 0.0f);
    const double tilt = random.uniform(0.0, 1.5), scatter = random.uniform(4.0, 12.0);
    std::vector<double> ratios, gains;
    for (int k = 1; k <= kOrders; ++k) {
        ratios.push_back(0.5 * k);
        gains.push_back(std::pow(static_cast<double>(k), -tilt) * decibels(scatter * random.normal()));
    }
    addPartials(out, random.logUniform(8.0, 45.0), random.logUniform(0.0005, 0.02), ratios, gains, random);
    addNoiseAround(out, -8.0, 12.0, random);
    return out;
}

Samples drawWhine(int samples, Random& random) {
    Samples out(static_cast<std::size_t>(samples), 0.0f);
    std::vector<double> ratios, gains;
    const int tones = 1 + random.below(6);
    const double speed = random.logUniform(10.0, 120.0);  // of the shaft, and of the sidebands
    for (int t = 0; t < tones; ++t) {
        const double ratio = random.logUniform(60.0, 6000.0) / speed, gain = decibels(random.uniform(-20.0, 0.0)),
                     side = random.chance(0.5) ? random.uniform(0.0, 0.7) : 0.0;
        for (const int offset : {-1, 0, 1}) {
            ratios.push_back(ratio + offset);
            gains.push_back(gain * (offset == 0 ? 1.0 : side));
        }
    }
    addPartials(out, speed, random.logUniform(0.0001, 0.005), ratios, gains, random);
    addNoiseAround(out, -4.0, 16.0, random);
    return out;
}

}  // namespace katessel::training
