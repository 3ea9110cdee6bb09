// The text form of a track.
#ifndef KATESSEL_APPS_CSVWRITER_H
#define KATESSEL_APPS_CSVWRITER_H

#include <string>

#include "PitchTrack.h"

enum class PitchUnit { hertz, cents };

// A header line and one line a row: time [s], pitch, confidence. Pitch in Hz is 0 for unvoiced rows, in cents
// above 440 Hz it is `nan`.
std::string csvText(const PitchTrack& track, PitchUnit unit);

#endif
