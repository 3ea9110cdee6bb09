// How the pitch and the level of a generated voice or instrument run.
#ifndef KATESSEL_TRAINING_CONTOUR_H
#define KATESSEL_TRAINING_CONTOUR_H

#include <vector>

#include "Random.h"
#include "Sound.h"

namespace katessel::training {

// Values at control points one hop apart. Point c lies at sample kCentre + (c - kLead) * kHop: the sound has some before
// its first frame and after its last.
constexpr int kLead = 5;
constexpr int controlsFor(int frames) { return frames + 2 * kLead; }

struct Contour {
    std::vector<float> pitch;  // [Hz] what is heard: jitter included; goes on through the pauses
    std::vector<float> gain;   // 0 .. 1; 0: pause
    std::vector<float> label;  // [Hz] the intended pitch, kUnvoiced in pauses, kUnknown where the voice creaks or fades
};

constexpr double kLowestPitch = 40.0, kHighestPitch = 2100.0;  // [Hz] of all that is generated

// Runs of notes or syllables with pauses between: glides, vibrato, drift, jitter, attacks and decays, creak.
//   base  [Hz] around which the voice moves
Contour drawContour(double base, int controls, Random& random);

// The contour at every sample.
struct Course {
    std::vector<double> turns;  // how often the pitch's period has gone round
    Samples gain;
};
Course follow(const Contour& contour, std::size_t samples);

}  // namespace katessel::training

#endif
