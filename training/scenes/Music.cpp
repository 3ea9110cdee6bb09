#include "Music.h"

#include <cmath>
#include <vector>

#include "Levels.h"
#include "StringsAndPipes.h"
#include "Tones.h"

namespace katessel::training {

namespace {

// What one drum sounds like: a sine that falls, and noise through a one-pole filter.
struct Drum {
    double hz, fall, ring;  // of the sine: [Hz], octaves it falls, [s] of its decay
    double noise, hiss;     // level of the noise against the sine, [s] of its decay
    float pole;             // of the noise's filter; its high part is used where `bright`
    bool bright;
};

Drum drawDrum(Random& random) {
    Drum drum = {};
    drum.hz = random.logUniform(40.0, 400.0);
    drum.fall = random.uniform(0.0, 2.0);
    drum.ring = random.logUniform(0.02, 0.25);
    drum.noise = random.logUniform(0.05, 20.0);
    drum.hiss = random.logUniform(0.01, 0.2);
    drum.pole = static_cast<float>(random.uniform(0.05, 0.95));
    drum.bright = random.chance(0.6);
    return drum;
}

void strike(Samples& out, std::size_t begin, const Drum& drum, double loud, Random& random) {
    double phase = 0.0;
    float low = 0.0f;
    const float ringDecay = static_cast<float>(std::exp(-1.0 / (drum.ring * kRate))),
                hissDecay = static_cast<float>(std::exp(-1.0 / (drum.hiss * kRate)));
    float ring = static_cast<float>(loud), hiss = ring * static_cast<float>(drum.noise), down = 1.0f;
    for (std::size_t i = begin; i < out.size() && ring + hiss > 1e-3f * loud; ++i) {
        phase += drum.hz * (1.0 + drum.fall * down) / kRate;
        down *= 0.999f;
        const float x = random.white();
        low += drum.pole * (x - low);
        out[i] += ring * static_cast<float>(std::sin(2.0 * M_PI * phase)) + hiss * (drum.bright ? x - low : low);
        ring *= ringDecay;
        hiss *= hissDecay;
    }
}

}  // namespace

Samples drawDrums(int samples, Random& random) {
    Samples out(static_cast<std::size_t>(samples), 0.0f);
    const double step = kRate * 60.0 / random.uniform(60.0, 180.0) / 4.0;  // [samples] a sixteenth
    const int drums = 2 + random.below(3);
    for (int d = 0; d < drums; ++d) {
        const Drum drum = drawDrum(random);
        std::vector<double> bar;
        for (int i = 0; i < 8; ++i) bar.push_back(random.chance(0.35) ? random.uniform(0.3, 1.0) : 0.0);
        std::size_t beat = static_cast<std::size_t>(random.below(8));
        for (double at = 0.0; at < samples; at += step, ++beat)
            if (bar[beat % 8] > 0.0) strike(out, static_cast<std::size_t>(at), drum, bar[beat % 8], random);
    }
    return out;
}

Samples drawMusic(int frames, int parts, Random& random) {
    Samples music(static_cast<std::size_t>(samplesFor(frames)), 0.0f);
    for (int p = 0; p < parts; ++p) {
        const double base = random.logUniform(60.0, 1000.0), kind = random.uniform(0.0, 1.0);
        const LabelledSound part = kind < 0.5   ? drawInstrument(base, frames, random)
                                   : kind < 0.8 ? drawString(base, frames, random)
                                                : drawTone(base, frames, random);
        const double loud = voicedLevel(part);
        if (loud > 0.0) add(music, part.samples, decibels(random.uniform(-6.0, 6.0)) / loud);
    }
    if (random.chance(0.5))
        addAtLevel(music, drawDrums(static_cast<int>(music.size()), random), level(music),
                   decibels(random.uniform(-10.0, 6.0)));
    return music;
}

}  // namespace katessel::training
