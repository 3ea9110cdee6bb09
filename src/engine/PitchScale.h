// What the network's two outputs mean.
#pragma once

namespace KaTessel {

// Second output to confidence: 1 at 0, falling to 0 at 0.04, not limited above.
inline float confidenceOf(float voicing) {
    const float confidence = (0.04f - voicing) * 25.0f;
    return confidence > 0.0f ? confidence : 0.0f;
}

// First output to octaves above 440 Hz: -1 is about 52.5 Hz, +1 about 1090 Hz.
inline float streamingOctaves(float pitch) { return (1.0f + pitch) * 2.187756f - 3.0666435f; }

// First output below which a streaming frame is unvoiced, about 1.4 Hz.
constexpr float kStreamingUnvoiced = -3.4073477f;

// Deliberate: each form keeps an offset of its own, and models are trained for both.
inline float offlineOctaves(float pitch) { return (pitch + 1.0f) * 2.187756f - 3.0586433f; }

// Octaves below which an offline frame is unvoiced: the same frequency as above.
constexpr float kOfflineUnvoiced = -8.333333f;

constexpr float kCentsPerOctave = 1200.0f;
constexpr float kReferenceHz = 440.0f;

}  // namespace KaTessel
