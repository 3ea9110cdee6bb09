// Tones whose partials are multiples of one pitch: instruments and signal generators.
#ifndef KATESSEL_TRAINING_TONES_H
#define KATESSEL_TRAINING_TONES_H

#include "Random.h"
#include "Sound.h"

namespace katessel::training {

// An instrument: harmonics that fall off at random, hollow ones and ones with a weak fundamental among them.
LabelledSound drawInstrument(double base, int frames, Random& random);

// A tone of the kind that tells how a tracker thinks: a pure one, or nearly; harmonics without the first one to five;
// odd ones alone; pulses of any width, saw, square and triangle; a few neighbours among the harmonics.
LabelledSound drawTone(double base, int frames, Random& random);

// One sine that modulates the phase of another (J. Chowning, "The synthesis of complex audio spectra by means of
// frequency modulation", 1973).
LabelledSound drawModulated(double base, int frames, Random& random);

}  // namespace katessel::training

#endif
