// A tone that follows a pitch track, without a break in its phase.
#pragma once

#include <vector>

#include "recordings/base/OnProgress.h"
#include "recordings/tracks/PitchTrack.h"

namespace katessel {

enum class Waveform { sine, harmonics };

// `count` samples at `rate` [Hz] from the instant 0 on. `levels` holds the root mean square for each row of the track.
// Between two voiced rows pitch and level glide; where a voiced stretch begins and ends the tone is faded over 10 ms.
// Rows more than 30 ms apart are not connected.
std::vector<float> followPitch(const PitchTrack& track, const std::vector<float>& levels, Waveform waveform, int rate,
                               std::size_t count, const OnProgress& onProgress);

}  // namespace katessel
