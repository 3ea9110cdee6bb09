// A piece of sound and its true pitch.
#ifndef KATESSEL_TRAINING_SOUND_H
#define KATESSEL_TRAINING_SOUND_H

#include <vector>

constexpr int kRate = 24000;   // [Hz] of all training sound: the engine's own
constexpr int kHop = 120;      // [samples] 5 ms
constexpr int kWindow = 1025;  // [samples] of one analysis
constexpr int kCentre = 512;   // [samples] from a window's start to the instant that its frame describes

constexpr float kUnvoiced = 0.0f;  // no pitch
constexpr float kUnknown = -1.0f;  // neither trained nor scored

using Samples = std::vector<float>;

struct LabelledSound {
    Samples samples;
    std::vector<float> pitch;  // [Hz] of frame i, around sample kCentre + i * kHop; or kUnvoiced or kUnknown
};

// The number of samples that `frames` frames need.
constexpr int samplesFor(int frames) { return (frames - 1) * kHop + kWindow; }

#endif
