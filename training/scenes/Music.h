// Several instruments that play together: sound that has many pitches, and so none.
#ifndef KATESSEL_TRAINING_MUSIC_H
#define KATESSEL_TRAINING_MUSIC_H

#include "Random.h"
#include "Sound.h"

namespace katessel::training {

// `parts` voices of a piece, with drums in half of the cases.
Samples drawMusic(int frames, int parts, Random& random);

// Drums in a bar that repeats.
Samples drawDrums(int samples, Random& random);

}  // namespace katessel::training

#endif
