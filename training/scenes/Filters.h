// Filters of second order: R. Bristow-Johnson, "Cookbook formulae for audio EQ biquad filter coefficients".
#ifndef KATESSEL_TRAINING_FILTERS_H
#define KATESSEL_TRAINING_FILTERS_H

#include "Sound.h"

namespace katessel::training {

struct Biquad {
    double b0, b1, b2, a1, a2;

    void apply(Samples& samples) const;
};

// A bell of so many decibels around `hz`.
Biquad peak(double hz, double quality, double decibels);

// Butterworth, 12 dB per octave.
Biquad highPass(double hz);
Biquad lowPass(double hz);

}  // namespace katessel::training

#endif
