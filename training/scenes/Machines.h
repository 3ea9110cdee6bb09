// Machines that run: sound with steady partials, but none that a listener would call its pitch.
#ifndef KATESSEL_TRAINING_MACHINES_H
#define KATESSEL_TRAINING_MACHINES_H

#include "Random.h"
#include "Sound.h"

namespace katessel::training {

// Mains hum: 50 or 60 Hz and harmonics.
Samples drawHum(int samples, Random& random);

// An engine: a slow shaft whose many orders come and go with its speed, in noise.
Samples drawEngine(int samples, Random& random);

// Fans, saws and gears: a few partials in no simple ratio, with sidebands, in noise.
Samples drawWhine(int samples, Random& random);

}  // namespace katessel::training

#endif
