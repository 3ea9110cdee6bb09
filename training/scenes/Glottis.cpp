// The pulse is that of D. Klatt and L. Klatt, "Analysis, synthesis, and perception of voice quality variations among
// female and male talkers", 1990: the flow grows with the square of time and falls with the cube until the glottis shuts.
#include <algorithm>
#include <array>
#include <cmath>

#include "Contour.h"
#include "Harmonics.h"
#include "Levels.h"
#include "Tracts.h"
#include "Voices.h"

namespace katessel::training {

namespace {

constexpr int kOversampling = 4;  // of the pulse, whose end is abrupt

struct Manner {
    double open;             // part of a cycle in which the glottis is open
    double jitter, shimmer;  // relative standard deviations of a cycle's length and strength
    double breath;           // noise against pulses
    float tilt;              // pole of the low-pass that rounds the pulses
};

// The derivative of the flow at `phase` of a cycle.
double pulse(double phase, double open) {
    if (phase >= open) return 0.0;
    const double x = phase / open;
    return (2.0 * x - 3.0 * x * x);
}

// Resonances in series, which change at every control point.
class Cascade {
public:
    void tune(const Tract& tract) {
        for (std::size_t f = 0; f < tract.size(); ++f) {
            const double radius = std::exp(-M_PI * tract[f].bandwidth / kRate);
            m_a1[f] = static_cast<float>(2.0 * radius *
                                         std::cos(2.0 * M_PI * std::min(tract[f].frequency, 0.45 * kRate) / kRate));
            m_a2[f] = static_cast<float>(-radius * radius);
        }
    }
    float operator()(float x) {
        for (std::size_t f = 0; f < m_a1.size(); ++f) {
            const float y = (1.0f - m_a1[f] - m_a2[f]) * x + m_a1[f] * m_y1[f] + m_a2[f] * m_y2[f];
            m_y2[f] = m_y1[f];
            x = m_y1[f] = y;
        }
        return x;
    }

private:
    std::array<float, std::tuple_size_v<Tract>> m_a1 = {}, m_a2 = {}, m_y1 = {}, m_y2 = {};
};

Manner drawManner(Random& random) {
    Manner manner = {};
    manner.open = random.uniform(0.3, 0.95);
    manner.jitter = random.chance(0.6) ? random.logUniform(0.001, 0.02) : 0.0;
    manner.shimmer = random.chance(0.6) ? random.logUniform(0.005, 0.2) : 0.0;
    manner.breath = random.chance(0.7) ? random.logUniform(0.003, 0.3) : 0.0;
    manner.tilt = static_cast<float>(std::exp(-2.0 * M_PI * random.logUniform(300.0, 8000.0) / kRate));
    return manner;
}

}  // namespace

LabelledSound drawGlottalVoice(double base, int frames, Random& random) {
    LabelledSound sound = silenceFor(frames);
    const Contour contour = drawContour(base, controlsFor(frames), random);
    const Course course = follow(contour, sound.samples.size());
    const std::vector<Tract> tracts = drawTracts(controlsFor(frames), random);
    const Manner manner = drawManner(random);
    Cascade tract;
    double cycle = 0.0, length = 1.0, strength = 1.0;  // where the present cycle began and how long it is, in turns
    float low = 0.0f;
    for (std::size_t i = 0; i < sound.samples.size(); ++i) {
        if (i % kHop == 0) tract.tune(tracts[std::min(i / kHop + 1, tracts.size() - 1)]);
        if (course.gain[i] <= 0.0f && low == 0.0f) continue;
        const double before = i > 0 ? course.turns[i - 1] : course.turns[0], step = course.turns[i] - before;
        double flow = 0.0;
        for (int part = 0; part < kOversampling; ++part) {
            const double turns = before + step * (part + 1) / kOversampling;
            if (turns - cycle >= length) {
                cycle += length;
                // Back towards the contour, so that the errors of the cycles do not add up.
                length = std::max(0.2, std::ceil(cycle - 0.5) + 1.0 - cycle + manner.jitter * random.normal());
                strength = std::max(0.0, 1.0 + manner.shimmer * random.normal());
            }
            flow += pulse((turns - cycle) / length, manner.open) / kOversampling;
        }
        const double open = std::fmod(course.turns[i], 1.0) < manner.open ? 1.0 : 0.3;
        const float x = course.gain[i] * static_cast<float>(strength * flow + manner.breath * open * random.white());
        low = x + manner.tilt * (low - x);
        if (std::fabs(low) < 1e-12f) low = 0.0f;
        sound.samples[i] = tract(low);
    }
    const double loud = level(sound.samples);
    if (random.chance(0.5)) addConsonants(contour, loud * random.logUniform(0.02, 1.0), sound.samples, random);
    setPitch(sound, contour);
    return sound;
}

}  // namespace katessel::training
