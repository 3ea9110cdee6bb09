// How loud sounds are, and sums of them.
#ifndef KATESSEL_TRAINING_LEVELS_H
#define KATESSEL_TRAINING_LEVELS_H

#include "Sound.h"

namespace katessel::training {

// The factor of so many decibels.
double decibels(double value);

// Root of the mean square; of the voiced frames alone where there are any.
double level(const Samples& samples);
double voicedLevel(const LabelledSound& sound);
double peakOf(const Samples& samples);

void scale(Samples& samples, double gain);
void add(Samples& samples, const Samples& other, double gain);

// Adds the other sound at a level of `gain` times `reference`; nothing where it is silent.
void addAtLevel(Samples& samples, const Samples& other, double reference, double gain);

}  // namespace katessel::training

#endif
