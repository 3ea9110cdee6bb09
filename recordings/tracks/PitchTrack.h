// A pitch track: what the analysis of one recording yields, however it was produced and wherever it goes.
#pragma once

#include <limits>
#include <vector>

#include "katessel/EngineFacts.hpp"
#include "katessel/Voicing.hpp"

namespace katessel {

using KaTessel::facts::kHopSeconds;  // from row to row, in tracks and in .f0 files

struct PitchRow {
    double time = 0.0;                                         // [s] in the recording
    float frequency = 0.0f;                                    // [Hz]; 0: unvoiced, or none given
    float confidence = 0.0f;                                   // 0 to 1 from our engine
    float loudness = std::numeric_limits<float>::quiet_NaN();  // [dB] as Loudness.h has it; not a number: not measured
};

using PitchTrack = std::vector<PitchRow>;

using KaTessel::Voicing;
using KaTessel::VoicingRule;

// Which rows count as voiced: those that the rule says and that have a frequency.
std::vector<bool> voicedRows(const PitchTrack& track, VoicingRule rule);

// Marks all others as unvoiced.
void applyVoicing(PitchTrack& track, VoicingRule rule);

// Pitch of `frequency` [Hz] in cents above 440 Hz; not a number for 0 Hz.
double centsAbove440(float frequency);

// Pitch of `frequency` [Hz] as a MIDI note number, 69 at 440 Hz, with what lies between two notes; not a number for 0 Hz.
double midiNote(float frequency);

}  // namespace katessel
