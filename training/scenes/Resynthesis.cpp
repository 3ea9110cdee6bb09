#include "Resynthesis.h"

#include <algorithm>
#include <cmath>

#include "Contour.h"

namespace katessel::training {

namespace {

// The frame around a sample.
std::size_t frameAt(double sample, std::size_t frames) {
    const double frame = std::round((sample - kCentre) / kHop);
    return static_cast<std::size_t>(std::clamp(frame, 0.0, static_cast<double>(frames - 1)));
}

// How much higher the melody runs, as a factor per frame: a steady part and a wave.
std::vector<double> drawFactors(std::size_t frames, Random& random) {
    const double shift = random.uniform(-0.6, 0.6), depth = random.uniform(0.0, 0.3);  // [octaves]
    const double rate = random.logUniform(0.3, 6.0), phase = random.uniform(0.0, 6.28);
    std::vector<double> factors;
    for (std::size_t f = 0; f < frames; ++f)
        factors.push_back(
            std::exp2(shift + depth / (1.0 + rate) *
                                  std::sin(phase + 2.0 * M_PI * rate * static_cast<double>(f) * kHop / kRate)));
    return factors;
}

// Adds the two periods around `from`, faded in and out, around `to`.
void addGrain(const Samples& source, double from, double to, double period, Samples& out) {
    const long reach = static_cast<long>(period);
    const double offset = from - to;
    for (long i = std::lround(to) - reach; i <= std::lround(to) + reach; ++i) {
        const double place = static_cast<double>(i) + offset, x = (static_cast<double>(i) - to) / period;
        const long whole = static_cast<long>(std::floor(place));
        if (i < 0 || i >= static_cast<long>(out.size()) || whole < 0 || whole + 1 >= static_cast<long>(source.size()) ||
            std::fabs(x) >= 1.0)
            continue;
        const float part = static_cast<float>(place - static_cast<double>(whole));
        const float value = (1.0f - part) * source[static_cast<std::size_t>(whole)] +
                            part * source[static_cast<std::size_t>(whole + 1)];
        out[static_cast<std::size_t>(i)] += value * static_cast<float>(0.5 + 0.5 * std::cos(M_PI * x));
    }
}

}  // namespace

LabelledSound withNewMelody(const LabelledSound& sound, Random& random) {
    const std::size_t frames = sound.pitch.size();
    const std::vector<double> factors = drawFactors(frames, random);
    LabelledSound out;
    out.pitch.resize(frames);
    out.samples.assign(sound.samples.size(), 0.0f);
    const auto voiced = [&](double sample) { return sound.pitch[frameAt(sample, frames)] > 0.0f; };
    const auto newPitch = [&](double sample) {
        const std::size_t f = frameAt(sample, frames);
        return std::clamp(sound.pitch[f] * factors[f], kLowestPitch, kHighestPitch);
    };

    const double end = static_cast<double>(sound.samples.size());
    double from = 0.0;  // a period's begin in the source, never far from
    for (double to = 0.0; to < end;) {
        if (!voiced(to)) {
            out.samples[static_cast<std::size_t>(to)] += sound.samples[static_cast<std::size_t>(to)];
            from = to = std::floor(to) + 1.0;
            continue;
        }
        double period = kRate / sound.pitch[frameAt(from, frames)];
        while (from + 0.5 * period < to && voiced(from + period)) {
            from += period;
            period = kRate / sound.pitch[frameAt(from, frames)];
        }
        addGrain(sound.samples, from, to, period, out.samples);
        to += kRate / newPitch(to);
    }
    for (std::size_t f = 0; f < frames; ++f) {
        const bool edge = (f > 0 && sound.pitch[f - 1] <= 0.0f) || (f + 1 < frames && sound.pitch[f + 1] <= 0.0f);
        out.pitch[f] = sound.pitch[f] <= 0.0f ? sound.pitch[f]
                       : edge                 ? kUnknown
                                              : static_cast<float>(newPitch(static_cast<double>(kCentre + f * kHop)));
    }
    return out;
}

}  // namespace katessel::training
