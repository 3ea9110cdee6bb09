// A piece of sound and its true pitch.
#ifndef KATESSEL_TRAINING_SOUND_H
#define KATESSEL_TRAINING_SOUND_H

#include <vector>

#include "katessel/EngineFacts.hpp"

namespace katessel::training {

using KaTessel::facts::kHop;                               // [samples] 5 ms
using KaTessel::facts::kRate;                              // [Hz] of all training sound: the engine's own
constexpr int kWindow = KaTessel::facts::kAnalysisLength;  // [samples] of one analysis
constexpr int kCentre = kWindow / 2;  // [samples] from a window's start to the instant that its frame describes

constexpr float kUnvoiced = 0.0f;  // no pitch
constexpr float kUnknown = -1.0f;  // neither trained nor scored

using Samples = std::vector<float>;

struct LabelledSound {
    Samples samples;
    std::vector<float> pitch;  // [Hz] of frame i, around sample kCentre + i * kHop; or kUnvoiced or kUnknown
};

// The number of samples that `frames` frames need.
constexpr int samplesFor(int frames) { return (frames - 1) * kHop + kWindow; }

}  // namespace katessel::training

#endif
