// Conversion of whole recordings, for the rates that the engine cannot stream without losing samples.
#ifndef KATESSEL_APPS_RATECONVERSION_H
#define KATESSEL_APPS_RATECONVERSION_H

#include <string>

#include "recordings/audio/AudioFile.h"

// The same sound at `rate` [Hz], aligned in time with the original. `path` is named when it fails.
Recording convertRate(const Recording& recording, int rate, const std::string& path);

#endif
