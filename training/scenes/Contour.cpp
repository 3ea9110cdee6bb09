#include "Contour.h"

#include <algorithm>
#include <cmath>

namespace katessel::training {

namespace {

using KaTessel::facts::kHopSeconds;
constexpr float kHeard = 0.2f, kNotHeard = 0.03f;  // gains from which a frame is voiced, and below which it is not

// What stays the same through one piece.
struct Manner {
    double spread;       // [octaves] standard deviation of the notes around the base
    double noteFrames;   // typical length of a note
    double pauseChance;  // before a run
    double jitter;       // relative
    double creakChance;  // per run
    bool stepwise;       // notes that stand still, like an instrument's; otherwise glides, like speech
    double vibratoChance;
};

Manner drawManner(Random& random) {
    Manner manner = {};
    manner.stepwise = random.chance(0.4);
    manner.spread = random.uniform(0.05, manner.stepwise ? 0.5 : 0.35);
    manner.noteFrames = random.logUniform(manner.stepwise ? 15.0 : 8.0, manner.stepwise ? 150.0 : 60.0);
    manner.pauseChance = random.uniform(0.2, 0.9);
    manner.jitter = random.chance(0.5) ? random.logUniform(0.0005, 0.02) : 0.0;
    manner.creakChance = random.chance(0.3) ? 0.4 : 0.0;
    manner.vibratoChance = random.chance(0.4) ? 0.6 : 0.0;
    const double kind = random.uniform(0.0, 1.0);
    if (kind < 0.15) {  // tones that stand still
        manner.spread = random.chance(0.5) ? 0.0 : manner.spread;
        manner.stepwise = true;
        manner.noteFrames = random.logUniform(40.0, 400.0);
        manner.jitter = manner.creakChance = manner.vibratoChance = 0.0;
    } else if (kind < 0.22) {  // sweeps
        manner.spread = random.uniform(0.3, 1.5);
        manner.stepwise = false;
        manner.noteFrames = random.logUniform(50.0, 300.0);
    }
    return manner;
}

// A note or syllable of `frames` frames from `from` to `to` [octaves re base].
void appendNote(std::vector<double>& octaves, double from, double to, int frames, const Manner& manner,
                Random& random) {
    const bool vibrato = random.chance(manner.vibratoChance);
    const double rate = random.uniform(4.0, 7.5), depth = vibrato ? random.uniform(0.01, 0.12) : 0.0;
    const double arch = manner.stepwise ? 0.0 : random.normal() * 0.08;
    const double phase = random.uniform(0.0, 6.28), travel = manner.stepwise ? random.logUniform(2.0, 12.0) : frames;
    for (int i = 0; i < frames; ++i) {
        const double x = std::min(1.0, (i + 0.5) / travel), blend = 0.5 - 0.5 * std::cos(M_PI * x);
        const double along = (i + 0.5) / frames;
        octaves.push_back(from + (to - from) * blend + arch * std::sin(M_PI * along) +
                          depth * std::min(1.0, along * 3.0) * std::sin(phase + 2.0 * M_PI * rate * i * kHopSeconds));
    }
}

// The level of a run: rises, stays with some tremolo, falls.
void appendGain(std::vector<float>& gain, int frames, Random& random) {
    const double attack = random.logUniform(1.0, 12.0), decay = random.logUniform(1.0, 30.0);
    const double tremolo = random.chance(0.5) ? random.uniform(0.0, 0.4) : 0.0, rate = random.uniform(2.0, 8.0);
    const double fade = random.chance(0.3) ? random.uniform(0.0, 3.0) / frames : 0.0;  // as plucked strings do
    for (int i = 0; i < frames; ++i) {
        const double edge = std::min({1.0, (i + 0.5) / attack, (frames - i - 0.5) / decay});
        gain.push_back(
            static_cast<float>(edge * std::exp(-fade * i) *
                               (1.0 - tremolo * (0.5 + 0.5 * std::sin(2.0 * M_PI * rate * i * kHopSeconds)))));
    }
}

// The run's last or first part as creak: half the pitch or less, and irregular. Nobody can say what its pitch is.
void creak(Contour& contour, std::size_t begin, Random& random) {
    const std::size_t frames = contour.pitch.size() - begin;
    const std::size_t length = std::min<std::size_t>(frames, static_cast<std::size_t>(random.uniform(4.0, 25.0)));
    const std::size_t from = random.chance(0.6) ? contour.pitch.size() - length : begin;
    const double drop = random.uniform(0.3, 0.7);
    for (std::size_t i = from; i < from + length; ++i) {
        contour.pitch[i] *= static_cast<float>(drop * (1.0 + 0.15 * random.normal()));
        contour.label[i] = kUnknown;
    }
}

void appendPause(Contour& contour, int frames, double hz) {
    contour.pitch.insert(contour.pitch.end(), static_cast<std::size_t>(frames), static_cast<float>(hz));
    contour.gain.insert(contour.gain.end(), static_cast<std::size_t>(frames), 0.0f);
    contour.label.insert(contour.label.end(), static_cast<std::size_t>(frames), kUnvoiced);
}

void appendRun(Contour& contour, double base, const Manner& manner, Random& random) {
    const std::size_t begin = contour.pitch.size();
    std::vector<double> octaves;
    double from = random.normal() * manner.spread;
    const int notes = 1 + random.below(5);
    for (int n = 0; n < notes; ++n) {
        const double to = random.normal() * manner.spread;
        const int frames = std::max(4, static_cast<int>(manner.noteFrames * random.logUniform(0.5, 2.0)));
        appendNote(octaves, n == 0 && manner.stepwise ? to : from, to, frames, manner, random);
        from = to;
    }
    appendGain(contour.gain, static_cast<int>(octaves.size()), random);
    for (std::size_t i = 0; i < octaves.size(); ++i) {
        const double hz = std::clamp(base * std::exp2(octaves[i]), kLowestPitch, kHighestPitch);
        contour.pitch.push_back(static_cast<float>(hz * (1.0 + manner.jitter * random.normal())));
        const float gain = contour.gain[begin + i];
        contour.label.push_back(gain >= kHeard ? static_cast<float>(hz) : gain >= kNotHeard ? kUnknown : kUnvoiced);
    }
    if (random.chance(manner.creakChance)) creak(contour, begin, random);
}

}  // namespace

Contour drawContour(double base, int controls, Random& random) {
    const Manner manner = drawManner(random);
    Contour contour;
    const std::size_t wanted = static_cast<std::size_t>(controls);
    while (contour.pitch.size() < wanted) {
        if (random.chance(manner.pauseChance))
            appendPause(contour, static_cast<int>(random.logUniform(2.0, 60.0)), base);
        appendRun(contour, base, manner, random);
    }
    for (std::vector<float>* values : {&contour.pitch, &contour.gain, &contour.label}) values->resize(wanted);
    return contour;
}

Course follow(const Contour& contour, std::size_t samples) {
    Course course = {std::vector<double>(samples), Samples(samples)};
    double turns = 0.0;
    for (std::size_t i = 0; i < samples; ++i) {
        const double place = (static_cast<double>(i) - kCentre) / kHop + kLead;
        const std::size_t c = std::min(static_cast<std::size_t>(place), contour.pitch.size() - 2);
        const float part = static_cast<float>(place - static_cast<double>(c));
        turns += (contour.pitch[c] + (contour.pitch[c + 1] - contour.pitch[c]) * part) / kRate;
        course.turns[i] = turns;
        course.gain[i] = contour.gain[c] + (contour.gain[c + 1] - contour.gain[c]) * part;
    }
    return course;
}

}  // namespace katessel::training
