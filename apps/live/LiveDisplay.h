// The pitch as somebody who tunes or sings wants to see it.
#pragma once

#include <string>

#include "recordings/tracks/PitchTrack.h"

namespace katessel {

// The nearest note of equal temperament (A4 = 440 Hz), by how many cents the pitch is off, a needle between 50 cents flat
// and sharp, the frequency and the confidence. Always as long; an unvoiced row has neither note nor needle.
std::string displayLine(const PitchRow& row);

}  // namespace katessel
