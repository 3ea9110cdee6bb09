#include "Microphones.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "Filters.h"
#include "Levels.h"
#include "Spectrum.h"

namespace katessel::training {

namespace {

constexpr float kMuLaw = 255.0f;

float muLawSteps(float x) {
    const float bounded = std::clamp(x, -1.0f, 1.0f);
    const float compressed = std::round(127.0f * std::log1p(kMuLaw * std::fabs(bounded)) / std::log1p(kMuLaw)) / 127.0f;
    return std::copysign(std::expm1(compressed * std::log1p(kMuLaw)) / kMuLaw, bounded);
}

constexpr std::size_t kBlock = 512, kStep = kBlock / 2;  // [samples] of the codec's transform
constexpr std::size_t kNeighbours = 12;                  // [bins] on either side of a line that may hide it

// Every line in steps that follow the level around it.
void coarsen(Bins& bins, std::size_t last, float step) {
    std::vector<float> sums(bins.size() + 1, 0.0f);
    for (std::size_t i = 0; i < bins.size(); ++i) sums[i + 1] = sums[i] + std::norm(bins[i]);
    for (std::size_t i = 0; i < bins.size(); ++i) {
        const std::size_t low = i > kNeighbours ? i - kNeighbours : 0, high = std::min(bins.size(), i + kNeighbours);
        const float around = std::sqrt(std::max(sums[high] - sums[low], 0.0f) / static_cast<float>(high - low)) * step;
        if (i >= last || around <= 0.0f)
            bins[i] = 0.0f;
        else
            bins[i] = {around * std::round(bins[i].real() / around), around * std::round(bins[i].imag() / around)};
    }
}

}  // namespace

void equalise(Samples& samples, Random& random) {
    const int peaks = 1 + random.below(3);
    for (int p = 0; p < peaks; ++p)
        peak(random.logUniform(60.0, 9000.0), random.logUniform(0.3, 4.0), random.uniform(-12.0, 12.0)).apply(samples);
    if (random.chance(0.25)) {
        const Biquad filter = highPass(random.logUniform(40.0, 400.0));
        const int times = 1 + random.below(3);
        for (int i = 0; i < times; ++i) filter.apply(samples);
    }
    if (random.chance(0.25)) lowPass(random.logUniform(1500.0, 9000.0)).apply(samples);
}

void telephone(Samples& samples, Random& random) {
    const double low = random.uniform(200.0, 350.0), high = random.uniform(3000.0, 3800.0);
    for (int i = 0; i < 2; ++i) highPass(low).apply(samples);
    for (int i = 0; i < 4; ++i) lowPass(high).apply(samples);
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

void compress(Samples& samples, Random& random) {
    const float attack = static_cast<float>(1.0 / (kRate * random.logUniform(0.002, 0.05)));
    const float release = static_cast<float>(1.0 / (kRate * random.logUniform(0.05, 0.5)));
    const float strength = static_cast<float>(random.uniform(0.2, 0.8));
    const float least = static_cast<float>(level(samples) * decibels(random.uniform(-40.0, -10.0)));
    if (least <= 0.0f) return;
    float power = least * least;
    for (float& x : samples) {
        const float now = x * x;
        power += (now > power ? attack : release) * (now - power);
        x *= std::exp(-0.5f * strength * std::log(power + least * least));
    }
}

void code(Samples& samples, Random& random) {
    Samples window(kBlock), out(samples.size() + kBlock, 0.0f);
    for (std::size_t i = 0; i < kBlock; ++i)
        window[i] = static_cast<float>(std::sin(M_PI * (static_cast<double>(i) + 0.5) / kBlock));
    const std::size_t last = static_cast<std::size_t>(random.logUniform(3000.0, 12000.0) / kRate * kBlock);
    const float step = static_cast<float>(random.logUniform(0.3, 2.5));
    Samples block(kBlock);
    for (std::size_t begin = 0; begin < samples.size(); begin += kStep) {
        for (std::size_t i = 0; i < kBlock; ++i)
            block[i] = begin + i < samples.size() ? window[i] * samples[begin + i] : 0.0f;
        Bins bins = transform(block, kBlock);
        coarsen(bins, last, step);
        block = inverse(bins, kBlock);
        for (std::size_t i = 0; i < kBlock; ++i) out[begin + i] += window[i] * block[i];
    }
    std::copy_n(out.begin() + kStep, samples.size() - kStep, samples.begin() + kStep);
}

void record(Samples& samples, Random& random) {
    if (random.chance(0.35)) equalise(samples, random);
    if (random.chance(0.25)) {  // against rumble, as most recorders have it
        const Biquad filter = highPass(random.logUniform(20.0, 200.0));
        const int times = 1 + random.below(2);
        for (int i = 0; i < times; ++i) filter.apply(samples);
    }
    if (random.chance(0.08)) compress(samples, random);
    if (random.chance(0.1)) clip(samples, random);
    if (random.chance(0.1)) code(samples, random);
    if (random.chance(0.07)) telephone(samples, random);
}

}  // namespace katessel::training
