// Generated noise: sound without pitch.
#ifndef KATESSEL_TRAINING_NOISES_H
#define KATESSEL_TRAINING_NOISES_H

#include "Random.h"
#include "Sound.h"

// One kind of noise, drawn at random: coloured, rain-like clicks, gusts, bands that wander, at a level of about 1.
Samples drawNoise(int samples, Random& random);

// White noise, uniform between -1 and 1.
Samples drawWhite(int samples, Random& random);

// Mains hum: 50 or 60 Hz and harmonics.
Samples drawHum(int samples, Random& random);

#endif
