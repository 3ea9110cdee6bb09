// Additive synthesis of everything whose partials are the multiples of one pitch.
#ifndef KATESSEL_TRAINING_HARMONICS_H
#define KATESSEL_TRAINING_HARMONICS_H

#include <vector>

#include "Contour.h"
#include "Random.h"
#include "Sound.h"

namespace katessel::training {

constexpr int kMostHarmonics = 190;
constexpr double kHighestPartial = 7600.0;  // [Hz] the analysis ends at 7000

// Amplitudes of all harmonics at every control point: gains[c * kMostHarmonics + k - 1].
using Envelope = std::vector<float>;

// The part of a harmonic near the upper end of the band: fades out instead of switching.
double bandEnd(double hz);

// The same amplitudes throughout, `levels[k - 1]` of harmonic k, with the contour's gain.
Envelope steadyEnvelope(const Contour& contour, const std::vector<double>& levels);

std::vector<float> drawPhases(Random& random);

// Adds the harmonics of the contour to the samples. The gains change linearly between control points.
void addHarmonics(const Contour& contour, const Envelope& gains, const std::vector<float>& phases, Samples& samples);

// Silence of so many frames without pitch, to add to.
LabelledSound silenceFor(int frames);

// What the contour intends, of every frame.
void setPitch(LabelledSound& sound, const Contour& contour);

}  // namespace katessel::training

#endif
