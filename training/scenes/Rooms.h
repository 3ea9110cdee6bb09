// What a room adds to a sound.
#ifndef KATESSEL_TRAINING_ROOMS_H
#define KATESSEL_TRAINING_ROOMS_H

#include "Random.h"
#include "Sound.h"

namespace katessel::training {

// The impulse response of a room: the direct sound at sample 0 with a gain of 1, the early reflections of a box with six
// walls (J. Allen and D. Berkley, "Image method for efficiently simulating small-room acoustics", 1979), and a dense tail
// that decays faster at high frequencies. From 0.1 to 1.2 s to -60 dB, direct sound from 12 dB above all else to 6 below.
Samples drawRoom(Random& random);

// The sound in such a room. The truth remains the direct sound's: a pause is a pause though the room still answers.
void reverberate(Samples& samples, Random& random);

}  // namespace katessel::training

#endif
