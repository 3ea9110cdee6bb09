// One example of training sound: who is heard, how it was recorded, and what else is heard.
#ifndef KATESSEL_TRAINING_SCENE_H
#define KATESSEL_TRAINING_SCENE_H

#include "Mixture.h"
#include "Random.h"
#include "Sound.h"

namespace katessel::training {

LabelledSound drawScene(const Sources& sources, int frames, Random& random);

}  // namespace katessel::training

#endif
