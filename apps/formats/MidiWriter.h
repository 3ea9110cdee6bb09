// A track as notes in a standard MIDI file.
#pragma once

#include <string>

#include "apps/formats/TrackDocument.h"

namespace katessel {

// Format 0, one track, channel 1, a millisecond a tick: the notes that NoteSegments.h finds, all equally loud, since a
// pitch track says nothing of loudness. It ends with the part that was tracked.
std::string midiBytes(const TrackDocument& document);

}  // namespace katessel
