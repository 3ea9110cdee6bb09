// What else is heard: noise, voices and music behind the one that counts, or alone.
#ifndef KATESSEL_TRAINING_MIXTURE_H
#define KATESSEL_TRAINING_MIXTURE_H

#include "Corpus.h"
#include "Random.h"
#include "Sound.h"

namespace katessel::training {

// The recordings that scenes are made from; any may be absent, generated sound takes its place.
struct Sources {
    const Corpus* pitched = nullptr;  // with known pitch
    const Corpus* noises = nullptr;   // without
    const Corpus* voices = nullptr;   // speech of unknown pitch, for babble
};

// Sound without pitch, alone: noise, machines, babble, music, whispers, near silence.
LabelledSound drawPitchless(const Sources& sources, int frames, Random& random);

// Adds what is behind a voice: in two of five cases from 8 dB above it to 5 below, otherwise softer.
void addBackground(LabelledSound& sound, const Sources& sources, Random& random);

}  // namespace katessel::training

#endif
