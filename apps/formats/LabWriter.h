// A track as labelled segments: where the recording is voiced and where it is not.
#ifndef KATESSEL_APPS_LABWRITER_H
#define KATESSEL_APPS_LABWRITER_H

#include <string>

#include "apps/formats/TrackDocument.h"

// One line a segment: its start [s], its end [s] and `voiced` or `unvoiced`, separated by tabs. The segments cover the
// part that was tracked; between two rows that differ they meet in the middle.
std::string labText(const TrackDocument& document);

#endif
