// Harmonic k is the k-th power of a rotating unit phasor, weighted by the envelope at its frequency.
#include "Harmonics.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace katessel::training {

double bandEnd(double hz) { return std::clamp((kHighestPartial - hz) / 600.0, 0.0, 1.0); }

Envelope steadyEnvelope(const Contour& contour, const std::vector<double>& levels) {
    Envelope gains(contour.pitch.size() * kMostHarmonics, 0.0f);
    for (std::size_t c = 0; c < contour.pitch.size(); ++c)
        for (std::size_t k = 1; k <= levels.size() && static_cast<double>(k) * contour.pitch[c] < kHighestPartial; ++k)
            gains[c * kMostHarmonics + k - 1] = static_cast<float>(contour.gain[c] * levels[k - 1] *
                                                                   bandEnd(static_cast<double>(k) * contour.pitch[c]));
    return gains;
}

std::vector<float> drawPhases(Random& random) {
    std::vector<float> phases(kMostHarmonics, 0.0f);
    const double scatter = random.chance(0.5) ? random.uniform(0.0, 3.14) : 0.0;  // none: pulses, as of the glottis
    for (float& phase : phases) phase = static_cast<float>(random.uniform(-scatter, scatter));
    return phases;
}

void addHarmonics(const Contour& contour, const Envelope& gains, const std::vector<float>& phases, Samples& samples) {
    constexpr std::size_t kPoints = kMostHarmonics;
    double phase = 0.0;
    std::array<float, kHop> stepRe, stepIm, re, im, sum;
    for (std::size_t c = 0; c + 1 < contour.pitch.size(); ++c) {
        const long begin = kCentre + (static_cast<long>(c) - kLead) * kHop;
        for (std::size_t i = 0; i < kHop; ++i) {
            const double hz =
                contour.pitch[c] + (contour.pitch[c + 1] - contour.pitch[c]) * static_cast<double>(i) / kHop;
            phase += 2.0 * M_PI * hz / kRate;
            if (phase > 2.0 * M_PI) phase -= 2.0 * M_PI;
            stepRe[i] = re[i] = std::cos(static_cast<float>(phase));
            stepIm[i] = im[i] = std::sin(static_cast<float>(phase));
        }
        if (contour.gain[c] <= 0.0f && contour.gain[c + 1] <= 0.0f) continue;
        sum.fill(0.0f);
        for (std::size_t k = 0; k < kPoints; ++k) {
            const float from = gains[c * kPoints + k], change = (gains[(c + 1) * kPoints + k] - from) / kHop;
            if (from <= 0.0f && change <= 0.0f && static_cast<double>(k) * contour.pitch[c] > kHighestPartial) break;
            const float cosine = std::cos(phases[k]), sine = std::sin(phases[k]);
            for (std::size_t i = 0; i < kHop; ++i) {
                sum[i] += (from + change * static_cast<float>(i)) * (im[i] * cosine + re[i] * sine);
                const float turned = re[i] * stepRe[i] - im[i] * stepIm[i];
                im[i] = re[i] * stepIm[i] + im[i] * stepRe[i];
                re[i] = turned;
            }
        }
        for (std::size_t i = 0; i < kHop; ++i) {
            const long at = begin + static_cast<long>(i);
            if (at >= 0 && at < static_cast<long>(samples.size())) samples[static_cast<std::size_t>(at)] += sum[i];
        }
    }
}

LabelledSound silenceFor(int frames) {
    LabelledSound sound;
    sound.samples.assign(static_cast<std::size_t>(samplesFor(frames)), 0.0f);
    sound.pitch.assign(static_cast<std::size_t>(frames), kUnvoiced);
    return sound;
}

void setPitch(LabelledSound& sound, const Contour& contour) {
    std::copy_n(contour.label.begin() + kLead, sound.pitch.size(), sound.pitch.begin());
}

}  // namespace katessel::training
