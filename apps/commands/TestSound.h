// Sound to measure with.
#pragma once

#include <vector>

namespace katessel {

// `seconds` at `rate` [Hz] of a voice-like tone, ten harmonics gliding between 100 and 400 Hz, over a little
// noise. The same on every run.
std::vector<float> makeTestSound(int rate, double seconds);

}  // namespace katessel
