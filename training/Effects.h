// What rooms, telephones and recorders do to a sound. The pitch stays.
#ifndef KATESSEL_TRAINING_EFFECTS_H
#define KATESSEL_TRAINING_EFFECTS_H

#include "Random.h"
#include "Sound.h"

// Root of the mean square; of the voiced frames alone where there are any.
double level(const Samples& samples);
double voicedLevel(const LabelledSound& sound);

void scale(Samples& samples, double gain);
void add(Samples& samples, const Samples& other, double gain);

// Two or three peaks or dips of up to 12 dB, and perhaps a band that ends early on either side.
void equalise(Samples& samples, Random& random);

// 300 to 3400 Hz with steep ends, and mu-law steps.
void telephone(Samples& samples, Random& random);

// Peaks cut off, hard or softly.
void clip(Samples& samples, Random& random);

// A room: sparse reflections that decay, after M. Karjalainen and H. Jarvelainen, "Reverberation modeling using velvet
// noise", 2007. Frames that hold more of the room's answer than of the voice itself become unknown.
void reverberate(LabelledSound& sound, Random& random);

#endif
