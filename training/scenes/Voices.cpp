#include "Voices.h"

#include <cmath>

#include "Harmonics.h"
#include "Levels.h"
#include "Tracts.h"

namespace katessel::training {

namespace {

Envelope voiceEnvelope(const Contour& contour, const std::vector<Tract>& tracts, Random& random) {
    const double tilt = random.uniform(6.0, 15.0);                           // [dB per octave] of the glottis
    const double first = std::pow(10.0, random.uniform(-12.0, 6.0) / 20.0);  // the first harmonic's own level
    Envelope gains(contour.pitch.size() * kMostHarmonics, 0.0f);
    for (std::size_t c = 0; c < contour.pitch.size(); ++c) {
        if (contour.gain[c] <= 0.0f) continue;
        for (int k = 1; k <= kMostHarmonics && static_cast<float>(k) * contour.pitch[c] < kHighestPartial; ++k) {
            const double hz = k * static_cast<double>(contour.pitch[c]);
            gains[c * kMostHarmonics + static_cast<std::size_t>(k - 1)] = static_cast<float>(
                contour.gain[c] * tractGain(tracts[c], hz) * std::pow(static_cast<double>(k), -tilt / 6.02) *
                (k == 1 ? first : 1.0) * bandEnd(hz));
        }
    }
    return gains;
}

}  // namespace

LabelledSound drawVoice(double base, int frames, Random& random) {
    LabelledSound sound = silenceFor(frames);
    const Contour contour = drawContour(base, controlsFor(frames), random);
    const std::vector<Tract> tracts = drawTracts(controlsFor(frames), random);
    addHarmonics(contour, voiceEnvelope(contour, tracts, random), drawPhases(random), sound.samples);
    const double loud = level(sound.samples);
    if (random.chance(0.7))
        addBreath(tracts, contour.gain, loud * random.logUniform(0.003, 0.5), sound.samples, random);
    if (random.chance(0.6)) addConsonants(contour, loud * random.logUniform(0.02, 1.0), sound.samples, random);
    setPitch(sound, contour);
    return sound;
}

LabelledSound drawWhisper(int frames, Random& random) {
    LabelledSound sound = silenceFor(frames);
    const Contour contour = drawContour(150.0, controlsFor(frames), random);
    addBreath(drawTracts(controlsFor(frames), random), contour.gain, 1.0, sound.samples, random);
    if (random.chance(0.6)) addConsonants(contour, random.logUniform(0.02, 0.5), sound.samples, random);
    return sound;
}

}  // namespace katessel::training
