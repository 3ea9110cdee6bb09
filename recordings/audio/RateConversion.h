// Conversion of whole recordings, for the rates that the engine cannot stream without losing samples.
#pragma once

#include <string>

#include "recordings/audio/AudioFile.h"

namespace katessel {

// The same sound at `rate` [Hz], aligned in time with the original. `path` is named when it fails.
Recording convertRate(const Recording& recording, int rate, const std::string& path);

}  // namespace katessel
