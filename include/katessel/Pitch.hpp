// The pitch at an instant, and over a whole recording. Header-only, C++17.
#ifndef KATESSEL_PITCH_HPP
#define KATESSEL_PITCH_HPP

#include <cstddef>
#include <vector>

namespace KaTessel {
inline namespace v1 {

// How a sound is heard. live: as it comes, every instant seen from before; offline: a whole recording at once, every
// instant seen from both sides. Weights may be trained for one of them.
enum class Form { live, offline };

// What is heard at one instant.
struct Pitch {
    double time = -1.0;       // [s] of the sound, a multiple of 5 ms; below 0: nothing was heard yet
    float frequency = 0.0f;   // [Hz]; 0: far below any voice
    float confidence = 0.0f;  // 0 to 1: about the probability that there is a pitch, and this one

    // Whether it counts as voiced. modelThreshold() of ModelCard.hpp tells which threshold suits a model.
    bool voiced(float threshold) const { return frequency > 0.0f && confidence >= threshold; }
};

// What is heard in a whole recording: one value in each array for every 5 ms that begin inside the recording.
struct PitchTrack {
    std::vector<double> times;  // [s] 0, 0.005, 0.01, ..
    std::vector<float> frequencies;
    std::vector<float> confidences;

    std::size_t size() const { return times.size(); }
    Pitch operator[](std::size_t i) const { return {times[i], frequencies[i], confidences[i]}; }
};

}  // namespace v1
}  // namespace KaTessel

#endif
