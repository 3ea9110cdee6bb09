// Generated voices whose pitch is known exactly.
#ifndef KATESSEL_TRAINING_VOICES_H
#define KATESSEL_TRAINING_VOICES_H

#include "Random.h"
#include "Sound.h"

namespace katessel::training {

// A voice: harmonics under moving formants, with breath, and consonants in the pauses.
LabelledSound drawVoice(double base, int frames, Random& random);

// A voice from the pulses of a glottis: each cycle of a length and strength of its own, breath while it is open, and a
// tract of resonances in series.
LabelledSound drawGlottalVoice(double base, int frames, Random& random);

// A whisper: breath under moving formants. It has no pitch.
LabelledSound drawWhisper(int frames, Random& random);

}  // namespace katessel::training

#endif
