// A track as text in columns, separated by commas or tabs.
#ifndef KATESSEL_APPS_CSVWRITER_H
#define KATESSEL_APPS_CSVWRITER_H

#include <string>

#include "apps/formats/TrackDocument.h"

// A header line and one line a row: time [s], pitch, confidence. A pitch that is not a number is `nan`.
std::string csvText(const TrackDocument& document);
std::string tsvText(const TrackDocument& document);

#endif
