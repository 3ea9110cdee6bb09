// Generated noise: sound without pitch.
#ifndef KATESSEL_TRAINING_NOISES_H
#define KATESSEL_TRAINING_NOISES_H

#include "Random.h"
#include "Sound.h"

namespace katessel::training {

// One kind of noise, drawn at random: any colour, rain-like clicks, gusts, bands that wander, chopped or steady.
Samples drawNoise(int samples, Random& random);

// White noise, uniform between -1 and 1.
Samples drawWhite(int samples, Random& random);

// Noise whose spectrum is a random walk over the octaves, with a resonance here and there.
Samples drawShaped(int samples, Random& random);

// The floor of a recorder: faint hiss or rumble.
Samples drawFloor(int samples, Random& random);

// Gusts and pauses: a slow, random gain.
void modulate(Samples& out, Random& random);

}  // namespace katessel::training

#endif
