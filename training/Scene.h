// One example of training sound: who is heard, how it was recorded, and what else is heard.
#ifndef KATESSEL_TRAINING_SCENE_H
#define KATESSEL_TRAINING_SCENE_H

#include "Corpus.h"
#include "Random.h"
#include "Sound.h"

// The recordings that scenes are made from; either may be absent, generated sound takes its place.
struct Sources {
    const Corpus* pitched = nullptr;
    const Corpus* noises = nullptr;
};

LabelledSound drawScene(const Sources& sources, int frames, Random& random);

#endif
