// Additive synthesis: harmonic k is the k-th power of a rotating unit phasor, weighted by the envelope at its frequency.
// Formant frequencies and bandwidths are in the range of G. Peterson and H. Barney, "Control methods used in a study of
// the vowels", 1952.
#include "Voices.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "Contour.h"

namespace {

constexpr int kMostHarmonics = 160;
constexpr double kHighestPartial = 7600.0;  // [Hz] the analysis ends at 7000

struct Formant {
    double frequency, bandwidth;  // [Hz]
};
using Tract = std::array<Formant, 5>;

// Vowels in succession, as the formants at every control point.
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

// The tract's gain at a frequency, 1 at 0 Hz.
double tractGain(const Tract& tract, double hz) {
    double power = 1.0;
    for (const Formant& formant : tract) {
        const double x = hz / formant.frequency,
                     damping = hz * formant.bandwidth / (formant.frequency * formant.frequency);
        power *= (1.0 - x * x) * (1.0 - x * x) + damping * damping;
    }
    return 1.0 / std::sqrt(power);
}

// Amplitudes of all harmonics at every control point: gains[c * kMostHarmonics + k - 1].
using Envelope = std::vector<float>;

// Adds the harmonics of the contour to the samples. The gains change linearly between control points.
void addHarmonics(const Contour& contour, const Envelope& gains, const std::vector<float>& phases, Samples& samples) {
    constexpr std::size_t kPoints = kMostHarmonics;
    double phase = 0.0;
    std::array<float, kHop> stepRe, stepIm, re, im, sum;
    for (std::size_t c = 0; c + 1 < contour.pitch.size(); ++c) {
        const long begin = kCentre + (static_cast<long>(c) - kLead) * kHop;
        for (std::size_t i = 0; i < kHop; ++i) {
            const double hz =
                contour.pitch[c] + (contour.pitch[c + 1] - contour.pitch[c]) * static_cast<double>(i) / kHop;
            phase += 2.0 * M_PI * hz / kRate;
            if (phase > 2.0 * M_PI) phase -= 2.0 * M_PI;
            stepRe[i] = re[i] = std::cos(static_cast<float>(phase));
            stepIm[i] = im[i] = std::sin(static_cast<float>(phase));
        }
        if (contour.gain[c] <= 0.0f && contour.gain[c + 1] <= 0.0f) continue;
        sum.fill(0.0f);
        for (std::size_t k = 0; k < kPoints; ++k) {
            const float from = gains[c * kPoints + k], change = (gains[(c + 1) * kPoints + k] - from) / kHop;
            if (from <= 0.0f && change <= 0.0f && static_cast<double>(k) * contour.pitch[c] > kHighestPartial) break;
            const float cosine = std::cos(phases[k]), sine = std::sin(phases[k]);
            for (std::size_t i = 0; i < kHop; ++i) {
                sum[i] += (from + change * static_cast<float>(i)) * (im[i] * cosine + re[i] * sine);
                const float turned = re[i] * stepRe[i] - im[i] * stepIm[i];
                im[i] = re[i] * stepIm[i] + im[i] * stepRe[i];
                re[i] = turned;
            }
        }
        for (std::size_t i = 0; i < kHop; ++i) {
            const long at = begin + static_cast<long>(i);
            if (at >= 0 && at < static_cast<long>(samples.size())) samples[static_cast<std::size_t>(at)] += sum[i];
        }
    }
}

std::vector<float> drawPhases(Random& random) {
    std::vector<float> phases(kMostHarmonics, 0.0f);
    const double scatter = random.chance(0.5) ? random.uniform(0.0, 3.14) : 0.0;  // none: pulses, as of the glottis
    for (float& phase : phases) phase = static_cast<float>(random.uniform(-scatter, scatter));
    return phases;
}

// The part of a harmonic near the upper end of the band: fades out instead of switching.
double bandEnd(double hz) { return std::clamp((kHighestPartial - hz) / 600.0, 0.0, 1.0); }

Envelope voiceEnvelope(const Contour& contour, const std::vector<Tract>& tracts, Random& random) {
    const double tilt = random.uniform(6.0, 15.0);                           // [dB per octave] of the glottis
    const double first = std::pow(10.0, random.uniform(-12.0, 6.0) / 20.0);  // the first harmonic's own level
    Envelope gains(contour.pitch.size() * kMostHarmonics, 0.0f);
    for (std::size_t c = 0; c < contour.pitch.size(); ++c) {
        if (contour.gain[c] <= 0.0f) continue;
        for (int k = 1; k <= kMostHarmonics && k * contour.pitch[c] < kHighestPartial; ++k) {
            const double hz = k * static_cast<double>(contour.pitch[c]);
            gains[c * kMostHarmonics + static_cast<std::size_t>(k - 1)] = static_cast<float>(
                contour.gain[c] * tractGain(tracts[c], hz) * std::pow(static_cast<double>(k), -tilt / 6.02) *
                (k == 1 ? first : 1.0) * bandEnd(hz));
        }
    }
    return gains;
}

Envelope instrumentEnvelope(const Contour& contour, Random& random) {
    const double tilt = random.uniform(2.0, 20.0), scatter = random.uniform(0.0, 10.0);  // [dB per octave], [dB]
    const int kind =
        random.below(6);  // 0: sine; 1: hollow, weak even harmonics; 2: weak or missing fundamental; else full
    const double even = std::pow(10.0, -random.uniform(10.0, 50.0) / 20.0);
    const double weak = random.chance(0.5) ? 0.0 : std::pow(10.0, -random.uniform(10.0, 40.0) / 20.0);
    std::vector<double> level(kMostHarmonics);
    for (int k = 1; k <= kMostHarmonics; ++k) {
        double gain = std::pow(static_cast<double>(k), -tilt / 6.02) * std::pow(10.0, scatter * random.normal() / 20.0);
        if (kind == 0 && k > 1) gain = 0.0;
        if (kind == 1 && k % 2 == 0) gain *= even;
        if (kind == 2 && k <= 1) gain *= weak;
        level[static_cast<std::size_t>(k - 1)] = gain;
    }
    Envelope gains(contour.pitch.size() * kMostHarmonics, 0.0f);
    for (std::size_t c = 0; c < contour.pitch.size(); ++c)
        for (int k = 1; k <= kMostHarmonics && k * contour.pitch[c] < kHighestPartial; ++k)
            gains[c * kMostHarmonics + static_cast<std::size_t>(k - 1)] =
                static_cast<float>(contour.gain[c] * level[static_cast<std::size_t>(k - 1)] *
                                   bandEnd(k * static_cast<double>(contour.pitch[c])));
    return gains;
}

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

// Breath through the first formants, as loud as `gain` says at each control point.
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

// Fricatives in the pauses, and some that run into the vowels around them.
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

double loudness(const Samples& samples) {
    double sum = 0.0;
    for (const float x : samples) sum += static_cast<double>(x) * x;
    return std::sqrt(sum / static_cast<double>(samples.size()));
}

LabelledSound silenceFor(int frames) {
    LabelledSound sound;
    sound.samples.assign(static_cast<std::size_t>(samplesFor(frames)), 0.0f);
    sound.pitch.assign(static_cast<std::size_t>(frames), kUnvoiced);
    return sound;
}

}  // namespace

LabelledSound drawVoice(double base, int frames, Random& random) {
    LabelledSound sound = silenceFor(frames);
    const Contour contour = drawContour(base, controlsFor(frames), random);
    const std::vector<Tract> tracts = drawTracts(controlsFor(frames), random);
    addHarmonics(contour, voiceEnvelope(contour, tracts, random), drawPhases(random), sound.samples);
    const double level = loudness(sound.samples);
    if (random.chance(0.7))
        addBreath(tracts, contour.gain, level * random.logUniform(0.003, 0.5), sound.samples, random);
    if (random.chance(0.6)) addConsonants(contour, level * random.logUniform(0.02, 1.0), sound.samples, random);
    std::copy_n(contour.label.begin() + kLead, frames, sound.pitch.begin());
    return sound;
}

LabelledSound drawInstrument(double base, int frames, Random& random) {
    LabelledSound sound = silenceFor(frames);
    const Contour contour = drawContour(base, controlsFor(frames), random);
    addHarmonics(contour, instrumentEnvelope(contour, random), drawPhases(random), sound.samples);
    std::copy_n(contour.label.begin() + kLead, frames, sound.pitch.begin());
    return sound;
}

LabelledSound drawWhisper(int frames, Random& random) {
    LabelledSound sound = silenceFor(frames);
    const Contour contour = drawContour(150.0, controlsFor(frames), random);
    addBreath(drawTracts(controlsFor(frames), random), contour.gain, 1.0, sound.samples, random);
    if (random.chance(0.6)) addConsonants(contour, random.logUniform(0.02, 0.5), sound.samples, random);
    return sound;
}
