// Strings that are plucked or struck, and pipes that are blown.
#ifndef KATESSEL_TRAINING_STRINGSANDPIPES_H
#define KATESSEL_TRAINING_STRINGSANDPIPES_H

#include "Random.h"
#include "Sound.h"

namespace katessel::training {

// Notes of a stiff string: partials that lie above the multiples of the pitch (H. Fletcher, E. Blackham and R. Stratton,
// "Quality of piano tones", 1962), weighted by where it is plucked, each with a decay of its own.
LabelledSound drawString(double base, int frames, Random& random);

// A pipe: a tone with few harmonics in the rush of air that the pipe's own resonances have coloured.
LabelledSound drawPipe(double base, int frames, Random& random);

}  // namespace katessel::training

#endif
