#include "Tones.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "Contour.h"
#include "Harmonics.h"
#include "Levels.h"

namespace katessel::training {

namespace {

using Series = std::vector<double>;  // amplitude of harmonic k at k - 1

constexpr double kAudible = 6500.0;  // [Hz] a tone needs two harmonics or more below this

double tilted(int harmonic, double decibelsPerOctave) {
    return std::pow(static_cast<double>(harmonic), -decibelsPerOctave / 6.02);
}

Series drawInstrumentSeries(Random& random) {
    const double tilt = random.uniform(2.0, 20.0), scatter = random.uniform(0.0, 10.0);  // [dB per octave], [dB]
    const int kind = random.below(5);  // 0: hollow, weak even harmonics; 1: weak or missing fundamental; else full
    const double even = decibels(-random.uniform(10.0, 50.0)),
                 weak = random.chance(0.5) ? 0.0 : decibels(-random.uniform(10.0, 40.0));
    Series series;
    for (int k = 1; k <= kMostHarmonics; ++k) {
        double gain = tilted(k, tilt) * decibels(scatter * random.normal());
        if (kind == 0 && k % 2 == 0) gain *= even;
        if (kind == 1 && k == 1) gain *= weak;
        series.push_back(gain);
    }
    return series;
}

// One harmonic, and perhaps a little of the next ones.
Series drawNearlyPure(Random& random) {
    Series series = {1.0};
    if (random.chance(0.5))
        for (int k = 2; k <= 4; ++k) series.push_back(decibels(random.uniform(-70.0, -15.0)));
    return series;
}

// `count` harmonics from `first` on.
Series neighbours(int first, int count, double tilt) {
    Series series(static_cast<std::size_t>(first - 1), 0.0);
    for (int k = first; k < first + count; ++k) series.push_back(tilted(k, tilt));
    return series;
}

Series drawOdd(Random& random) {
    const double tilt = random.chance(0.4) ? 0.0 : random.uniform(0.0, 12.0),
                 even = random.chance(0.6) ? 0.0 : decibels(-random.uniform(20.0, 60.0));
    const int count = random.chance(0.5) ? kMostHarmonics : 3 + random.below(20);
    Series series;
    for (int k = 1; k <= count; ++k) series.push_back(tilted(k, tilt) * (k % 2 == 0 ? even : 1.0));
    return series;
}

// A rectangle that is up for `width` of a period, rounded a little or not at all.
Series pulses(double width, double tilt) {
    Series series;
    for (int k = 1; k <= kMostHarmonics; ++k) series.push_back(std::sin(M_PI * k * width) * tilted(k, 6.02 + tilt));
    return series;
}

Series drawSeries(double base, Random& random) {
    const int most = std::max(2, static_cast<int>(kAudible / base));  // harmonics that are heard
    const double kind = random.uniform(0.0, 1.0), rounded = random.chance(0.5) ? 0.0 : random.uniform(0.0, 12.0);
    if (kind < 0.33) return drawNearlyPure(random);
    if (kind < 0.53) {
        const int first = 2 + random.below(std::clamp(most - 2, 1, 4));
        return neighbours(first, std::max(2, static_cast<int>(random.logUniform(3.0, 100.0))),
                          random.chance(0.4) ? 0.0 : random.uniform(0.0, 9.0));
    }
    if (kind < 0.68) return drawOdd(random);
    if (kind < 0.83) return pulses(random.logUniform(0.01, 0.5), rounded);
    if (kind < 0.90) return neighbours(1, kMostHarmonics, 6.02 + rounded);  // saw
    if (kind < 0.95) return neighbours(1, kMostHarmonics, random.uniform(-3.0, 3.0));
    return neighbours(1 + random.below(std::clamp(most - 3, 1, 8)), 2 + random.below(4), 0.0);
}

// Above this pitch a lone harmonic would be left in the band, of which nobody could say which one it is.
double highestPitch(const Series& series) {
    if (series[0] > 0.0) return kHighestPitch;
    const auto first = std::find_if(series.begin(), series.end(), [](double gain) { return gain > 0.0; });
    return kAudible / static_cast<double>(first - series.begin() + 2);
}

LabelledSound sounding(const Contour& contour, const Series& series, int frames, Random& random) {
    LabelledSound sound = silenceFor(frames);
    const std::vector<float> phases =
        random.chance(0.5) ? std::vector<float>(kMostHarmonics, 0.0f) : drawPhases(random);
    addHarmonics(contour, steadyEnvelope(contour, series), phases, sound.samples);
    setPitch(sound, contour);
    const double highest = highestPitch(series);
    for (float& hz : sound.pitch)
        if (hz > highest) hz = kUnknown;
    return sound;
}

}  // namespace

LabelledSound drawInstrument(double base, int frames, Random& random) {
    const Contour contour = drawContour(base, controlsFor(frames), random);
    return sounding(contour, drawInstrumentSeries(random), frames, random);
}

LabelledSound drawTone(double base, int frames, Random& random) {
    const Contour contour = drawContour(base, controlsFor(frames), random);
    return sounding(contour, drawSeries(base, random), frames, random);
}

LabelledSound drawModulated(double base, int frames, Random& random) {
    LabelledSound sound = silenceFor(frames);
    const Contour contour = drawContour(base, controlsFor(frames), random);
    const Course course = follow(contour, sound.samples.size());
    // Without a common divisor the pitch is the fundamental whichever of the two is higher.
    constexpr int kRatios[][2] = {{1, 1}, {1, 2}, {1, 3}, {2, 1}, {3, 1}, {3, 2}, {1, 4}, {4, 1}};
    const auto& [carrier, modulator] = kRatios[random.below(base > 700.0 ? 3 : 8)];
    const double most = std::max(0.3, (kHighestPartial / base - carrier) / modulator - 1.0);
    const double index = random.uniform(0.2, std::min(8.0, most)), wave = random.uniform(0.0, 1.0),
                 rate = random.logUniform(0.2, 6.0);
    for (std::size_t i = 0; i < sound.samples.size(); ++i) {
        if (course.gain[i] <= 0.0f) continue;
        const double turn = 2.0 * M_PI * std::fmod(course.turns[i], 1.0),
                     now = index *
                           (1.0 - 0.5 * wave * (1.0 + std::sin(2.0 * M_PI * rate * static_cast<double>(i) / kRate)));
        sound.samples[i] =
            course.gain[i] * static_cast<float>(std::sin(carrier * turn + now * std::sin(modulator * turn)));
    }
    setPitch(sound, contour);
    return sound;
}

}  // namespace katessel::training
