// What files and plug-ins say in MIDI: notes, and how the pitch bends within them.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "recordings/tracks/PitchTrack.h"

namespace katessel::midi {

// Status bytes; the lowest four bits are the channel.
inline constexpr int kNoteOff = 0x80, kNoteOn = 0x90, kControl = 0xb0, kBend = 0xe0;

inline constexpr int kUsualVelocity = 96;  // of notes whose loudness nobody measured
inline constexpr int kBendCentre = 8192;
inline constexpr int kUsualBendRange = 2;  // [semitones] to either side, unless an instrument is told otherwise

// The bend, 0 to 16383, that takes `note` to `frequency` [Hz], as far as `range` [semitones] goes.
inline int bendOf(float frequency, int note, int range) {
    const double bend = std::clamp((midiNote(frequency) - note) / range, -1.0, 1.0);
    return std::min(static_cast<int>(std::lround(bend * kBendCentre)) + kBendCentre, 2 * kBendCentre - 1);
}

// Control changes, number and value, that tell an instrument how far a bend goes: registered parameter 0.
inline std::array<std::pair<int, int>, 4> bendRangeControls(int range) {
    return {{{101, 0}, {100, 0}, {6, range}, {38, 0}}};
}

}  // namespace katessel::midi
