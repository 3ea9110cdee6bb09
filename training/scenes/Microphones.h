// What microphones, recorders, telephones and codecs do to a sound. The pitch stays.
#ifndef KATESSEL_TRAINING_MICROPHONES_H
#define KATESSEL_TRAINING_MICROPHONES_H

#include "Random.h"
#include "Sound.h"

namespace katessel::training {

// Some peaks or dips of up to 12 dB, and perhaps a band that ends early on either side.
void equalise(Samples& samples, Random& random);

// 300 to 3400 Hz with steep ends, and mu-law steps.
void telephone(Samples& samples, Random& random);

// Peaks cut off, hard or softly.
void clip(Samples& samples, Random& random);

// A recorder that sets its level by itself: loud passages become softer, and pauses louder.
void compress(Samples& samples, Random& random);

// What a codec at a low bit rate leaves: a band that ends early, and in every short stretch only the lines that stand
// out of their neighbourhood, in coarse steps.
void code(Samples& samples, Random& random);

// The whole chain behind the microphone: any of the above.
void record(Samples& samples, Random& random);

}  // namespace katessel::training

#endif
