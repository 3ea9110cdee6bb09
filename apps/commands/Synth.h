// `katessel synth`: a pitch track made audible.
#pragma once

#include <optional>
#include <string>

#include "apps/commands/ToneSynth.h"
#include "apps/commands/Track.h"

namespace katessel {

struct SynthOptions {
    std::string input;                // a track, an .f0 file or a recording, by its name
    std::string output;               // .wav or .flac
    std::string mix;                  // recording that is heard as well; empty: none
    bool stereo = false;              // the recording on the left, the tone on the right
    Waveform waveform = Waveform::harmonics;
    std::optional<int> rate;          // [Hz]; none: the recording's, without one 48000
    std::string model;                // for a recording; empty: the default model
    std::optional<double> threshold;  // none: the model's own; of a given track, 0
    TrackMode mode = TrackMode::offline;
};

void runSynth(const SynthOptions& options);

}  // namespace katessel
