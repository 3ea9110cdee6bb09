// Formant frequencies and bandwidths are in the range of G. Peterson and H. Barney, "Control methods used in a study of
// the vowels", 1952.
#include "Tracts.h"

#include <algorithm>
#include <cmath>

namespace katessel::training {

namespace {

// White noise through one resonance that follows `centre`, weighted by `gain`: a fricative, or one formant of a breath.
template <class FormantAt, class GainAt>
void addResonantNoise(Samples& samples, FormantAt formantAt, GainAt gainAt, Random& random) {
    float y1 = 0.0f, y2 = 0.0f, a1 = 0.0f, a2 = 0.0f, b = 0.0f, gain = 0.0f, step = 0.0f;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (i % kHop == 0) {
            const std::size_t c = i / kHop + 1;
            const Formant formant = formantAt(c);
            const double radius = std::exp(-M_PI * formant.bandwidth / kRate);
            a1 = static_cast<float>(2.0 * radius * std::cos(2.0 * M_PI * formant.frequency / kRate));
            a2 = static_cast<float>(-radius * radius);
            b = static_cast<float>(std::sqrt(1.0 - radius));
            gain = static_cast<float>(gainAt(c));
            step = (static_cast<float>(gainAt(c + 1)) - gain) / kHop;
        }
        const float y = b * random.white() + a1 * y1 + a2 * y2;
        y2 = y1;
        y1 = y;
        samples[i] += gain * y;
        gain += step;
    }
}

}  // namespace

std::vector<Tract> drawTracts(int controls, Random& random) {
    const double length = random.logUniform(0.8, 1.45);  // of a large man to that of a child
    const auto drawVowel = [&] {
        Tract vowel = {};
        const double centres[5] = {random.uniform(270.0, 850.0), random.uniform(850.0, 2300.0),
                                   random.uniform(2200.0, 3000.0), random.uniform(3200.0, 3900.0),
                                   random.uniform(4200.0, 5000.0)};
        for (std::size_t i = 0; i < vowel.size(); ++i)
            vowel[i] = {centres[i] * length, random.uniform(50.0, 110.0) * (1.0 + 0.5 * static_cast<double>(i))};
        return vowel;
    };
    std::vector<Tract> tracts;
    Tract from = drawVowel();
    while (tracts.size() < static_cast<std::size_t>(controls)) {
        const Tract to = drawVowel();
        const int frames = static_cast<int>(random.logUniform(8.0, 60.0));
        const double travel = random.uniform(0.2, 1.0) * frames;
        for (int i = 0; i < frames; ++i) {
            Tract now = from;
            for (std::size_t f = 0; f < now.size(); ++f)
                now[f].frequency += (to[f].frequency - from[f].frequency) * std::min(1.0, i / travel);
            tracts.push_back(now);
        }
        from = to;
    }
    tracts.resize(static_cast<std::size_t>(controls));
    return tracts;
}

double tractGain(const Tract& tract, double hz) {
    double power = 1.0;
    for (const Formant& formant : tract) {
        const double x = hz / formant.frequency,
                     damping = hz * formant.bandwidth / (formant.frequency * formant.frequency);
        power *= (1.0 - x * x) * (1.0 - x * x) + damping * damping;
    }
    return 1.0 / std::sqrt(power);
}

void addBreath(const std::vector<Tract>& tracts, const std::vector<float>& gain, double level, Samples& samples,
               Random& random) {
    for (std::size_t f = 0; f < 4; ++f)
        addResonantNoise(
            samples,
            [&](std::size_t c) {
                const Formant& at = tracts[std::min(c, tracts.size() - 1)][f];
                return Formant{at.frequency, 2.0 * at.bandwidth};
            },
            [&](std::size_t c) { return level * gain[std::min(c, gain.size() - 1)]; }, random);
}

void addConsonants(const Contour& contour, double level, Samples& samples, Random& random) {
    const Formant formant = {random.logUniform(1200.0, 8500.0), random.logUniform(400.0, 4000.0)};
    std::vector<float> gain(contour.gain.size());
    double now = 0.0, target = 0.0;
    for (std::size_t c = 0; c < gain.size(); ++c) {
        if (random.chance(0.08)) target = random.chance(0.5) ? random.logUniform(0.05, 1.0) : 0.0;
        now += 0.3 * ((contour.gain[c] > 0.3f ? 0.0 : target) - now);
        gain[c] = static_cast<float>(now);
    }
    addResonantNoise(
        samples, [&](std::size_t) { return formant; },
        [&](std::size_t c) { return level * gain[std::min(c, gain.size() - 1)]; }, random);
}

}  // namespace katessel::training
