// The vocal tract: formants that move from vowel to vowel, and the noise of breath and friction in it.
#ifndef KATESSEL_TRAINING_TRACTS_H
#define KATESSEL_TRAINING_TRACTS_H

#include <array>
#include <vector>

#include "Contour.h"
#include "Random.h"
#include "Sound.h"

namespace katessel::training {

struct Formant {
    double frequency, bandwidth;  // [Hz]
};
using Tract = std::array<Formant, 5>;

// Vowels in succession, as the formants at every control point.
std::vector<Tract> drawTracts(int controls, Random& random);

// The tract's gain at a frequency, 1 at 0 Hz.
double tractGain(const Tract& tract, double hz);

// Breath through the first formants, as loud as `gain` says at each control point.
void addBreath(const std::vector<Tract>& tracts, const std::vector<float>& gain, double level, Samples& samples,
               Random& random);

// Fricatives in the pauses, and some that run into the vowels around them.
void addConsonants(const Contour& contour, double level, Samples& samples, Random& random);

}  // namespace katessel::training

#endif
