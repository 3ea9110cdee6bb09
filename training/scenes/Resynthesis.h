// Recordings with another melody, by overlap-add.
#ifndef KATESSEL_TRAINING_RESYNTHESIS_H
#define KATESSEL_TRAINING_RESYNTHESIS_H

#include "Random.h"
#include "Sound.h"

namespace katessel::training {

// The sound with its periods, one grain each, laid at the distances of a new melody (E. Moulines and F. Charpentier,
// "Pitch-synchronous waveform processing techniques for text-to-speech synthesis using diphones", 1990). What has no pitch
// stays as it is. Formants stay where they were, unlike with a change of speed.
LabelledSound withNewMelody(const LabelledSound& sound, Random& random);

}  // namespace katessel::training

#endif
