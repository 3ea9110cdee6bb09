#include "StringsAndPipes.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "Contour.h"
#include "Harmonics.h"
#include "Levels.h"

namespace katessel::training {

namespace {

constexpr std::size_t kPartials = 64;
constexpr double kHeard = -40.0, kNotHeard = -55.0;  // [dB re its beginning] a note with a pitch, and one that is gone
constexpr int kBefore = kWindow;                     // [samples] before the scene in which a note may begin

// What the notes of one instrument have in common.
struct Build {
    double stiffness;   // B: partial k lies at k sqrt(1 + B k^2) times the ideal pitch
    double pluck;       // where along the string, 0 .. 0.5
    double tilt;        // [dB per octave]
    double seconds;     // to -60 dB, of the first partial
    double brightness;  // how much sooner higher partials die: 0, alike
    double noteFrames, spread;
};

Build drawBuild(Random& random) {
    Build build = {};
    build.stiffness = random.logUniform(1e-6, 4e-4);
    build.pluck = random.uniform(0.05, 0.5);
    build.tilt = random.uniform(0.0, 9.0);
    build.seconds = random.logUniform(0.3, 8.0);
    build.brightness = random.uniform(0.0, 0.8);
    build.noteFrames = random.logUniform(20.0, 200.0);
    build.spread = random.uniform(0.0, 0.5);
    return build;
}

// Adds a note, all partials side by side as rotating phasors; gives its level in every frame, in dB re its beginning.
void addNote(Samples& samples, std::size_t begin, std::size_t end, double hz, const Build& build, Random& random) {
    std::array<float, kPartials> re = {}, im = {}, turnRe = {}, turnIm = {};
    for (std::size_t p = 0; p < kPartials; ++p) {
        const double k = static_cast<double>(p + 1);
        const double partial = k * hz * std::sqrt((1.0 + build.stiffness * k * k) / (1.0 + build.stiffness));
        if (partial > kHighestPartial) break;
        const double gain = std::fabs(std::sin(M_PI * k * build.pluck)) * std::pow(k, -build.tilt / 6.02) *
                            bandEnd(partial) * decibels(3.0 * random.normal());
        const double seconds = build.seconds / std::pow(k, build.brightness);
        const double decay = std::exp(-6.9 / (seconds * kRate)), turn = 2.0 * M_PI * partial / kRate;
        im[p] = static_cast<float>(gain);
        turnRe[p] = static_cast<float>(decay * std::cos(turn));
        turnIm[p] = static_cast<float>(decay * std::sin(turn));
    }
    const std::size_t release = 480;  // [samples] in which the damper falls
    for (std::size_t i = begin; i < std::min(end + release, samples.size()); ++i) {
        float sum = 0.0f;
        for (std::size_t p = 0; p < kPartials; ++p) {
            const float turned = re[p] * turnRe[p] - im[p] * turnIm[p];
            im[p] = re[p] * turnIm[p] + im[p] * turnRe[p];
            re[p] = turned;
            sum += re[p];
        }
        const float damper = i < end ? 1.0f : 1.0f - static_cast<float>(i - end) / static_cast<float>(release);
        samples[i] += damper * sum;
    }
}

// The pitch of the frames in which the note alone is heard.
void label(std::vector<float>& pitch, long begin, long end, double hz, const Build& build) {
    const double perFrame = 60.0 / (build.seconds * kRate / kHop);  // [dB]
    const long first = std::max(0L, (begin - kCentre + kHop - 1) / kHop);
    for (long f = first; f < static_cast<long>(pitch.size()) && f * kHop + kCentre < end; ++f) {
        const double loud = -perFrame * static_cast<double>(f - (begin - kCentre) / kHop);
        pitch[static_cast<std::size_t>(f)] = loud > kHeard      ? static_cast<float>(hz)
                                             : loud > kNotHeard ? kUnknown
                                                                : kUnvoiced;
    }
    const long last = (end - kCentre + kHop - 1) / kHop;
    for (long f = std::max(0L, last); f < std::min(static_cast<long>(pitch.size()), last + 4); ++f)
        pitch[static_cast<std::size_t>(f)] = kUnknown;
}

}  // namespace

LabelledSound drawString(double base, int frames, Random& random) {
    LabelledSound sound = silenceFor(frames);
    const Build build = drawBuild(random);
    Samples samples(sound.samples.size() + kBefore, 0.0f);
    long begin = random.below(kBefore);
    while (begin < static_cast<long>(samples.size())) {
        const double hz = std::clamp(base * std::exp2(build.spread * random.normal()), kLowestPitch, kHighestPitch);
        const long end = begin + static_cast<long>(kHop * build.noteFrames * random.logUniform(0.5, 2.0));
        addNote(samples, static_cast<std::size_t>(begin), static_cast<std::size_t>(end), hz, build, random);
        label(sound.pitch, begin - kBefore, end - kBefore, hz, build);
        begin = end + (random.chance(0.4) ? static_cast<long>(kHop * random.logUniform(1.0, 60.0)) : 0);
    }
    sound.samples.assign(samples.begin() + kBefore, samples.end());
    return sound;
}

LabelledSound drawPipe(double base, int frames, Random& random) {
    LabelledSound sound = silenceFor(frames);
    const Contour contour = drawContour(base, controlsFor(frames), random);
    const double tilt = random.uniform(6.0, 24.0), even = random.chance(0.5) ? 1.0 : random.uniform(0.0, 0.3);
    std::vector<double> series;
    for (int k = 1; k <= 24; ++k) series.push_back(std::pow(k, -tilt / 6.02) * (k % 2 == 0 ? even : 1.0));
    addHarmonics(contour, steadyEnvelope(contour, series), drawPhases(random), sound.samples);

    // Air through a delay of one period that feeds back.
    const Course course = follow(contour, sound.samples.size());
    const float feedback = static_cast<float>(random.uniform(0.5, 0.97));
    const double loud = level(sound.samples) * random.logUniform(0.01, 1.0);
    Samples air(sound.samples.size(), 0.0f);
    for (std::size_t i = 1; i < air.size(); ++i) {
        const double period = 1.0 / std::max(course.turns[i] - course.turns[i - 1], 1e-3);
        const double place = static_cast<double>(i) - period;
        float back = 0.0f;
        if (place >= 0.0) {
            const std::size_t whole = static_cast<std::size_t>(place);
            const float part = static_cast<float>(place - static_cast<double>(whole));
            back = (1.0f - part) * air[whole] + part * air[whole + 1];
        }
        air[i] = course.gain[i] * random.white() + feedback * back;
    }
    addAtLevel(sound.samples, air, loud, 1.0);
    setPitch(sound, contour);
    return sound;
}

}  // namespace katessel::training
