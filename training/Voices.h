// Generated voices and instruments whose pitch is known exactly.
#ifndef KATESSEL_TRAINING_VOICES_H
#define KATESSEL_TRAINING_VOICES_H

#include "Random.h"
#include "Sound.h"

// A voice: harmonics under moving formants, with breath, and consonants in the pauses.
LabelledSound drawVoice(double base, int frames, Random& random);

// An instrument: harmonics under a fixed envelope, from a pure sine to a bright or hollow tone.
LabelledSound drawInstrument(double base, int frames, Random& random);

// A whisper: breath under moving formants. It has no pitch.
LabelledSound drawWhisper(int frames, Random& random);

#endif
