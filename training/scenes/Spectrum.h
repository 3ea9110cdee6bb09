// Fourier transforms of whole scenes.
#ifndef KATESSEL_TRAINING_SPECTRUM_H
#define KATESSEL_TRAINING_SPECTRUM_H

#include <complex>
#include <vector>

#include "Sound.h"

namespace katessel::training {

using Bins = std::vector<std::complex<float>>;

// The bins 0 to size / 2 of the sound, with zeros behind it up to `size` samples.
Bins transform(const Samples& samples, std::size_t size);

// The `size` samples whose bins these are.
Samples inverse(const Bins& bins, std::size_t size);

// The sound through a filter of that impulse response, as long as the sound. Of a response that is long, what would
// fall behind the sound's end comes to nothing.
Samples convolve(const Samples& samples, const Samples& response);

}  // namespace katessel::training

#endif
