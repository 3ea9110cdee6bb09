// A track as a NumPy array.
#ifndef KATESSEL_APPS_NPYWRITER_H
#define KATESSEL_APPS_NPYWRITER_H

#include <string>

#include "apps/formats/TrackDocument.h"

// float32, rows x 3 in C order: time [s], pitch, confidence.
std::string npyBytes(const TrackDocument& document);

#endif
