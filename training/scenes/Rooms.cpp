#include "Rooms.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "Levels.h"
#include "Spectrum.h"

namespace katessel::training {

namespace {

using Point = std::array<double, 3>;  // [m]

constexpr double kSound = 343.0;  // [m/s]
constexpr int kOrder = 3;         // of the images along each axis
constexpr double kLongest = 0.8;  // [s] of a response; what comes later is 40 dB down or more
constexpr double kWallCornerLow = 1500.0, kWallCornerHigh = 12000.0;  // [Hz] above which a wall swallows more

double distance(const Point& a, const Point& b) { return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]); }

struct Box {
    Point size, talker, ear;
    std::array<double, 3> reflection;  // of the two walls across each axis
};

Box drawBox(Random& random) {
    Box box = {};
    box.size = {random.logUniform(1.5, 15.0), random.logUniform(1.5, 20.0), random.uniform(2.2, 5.0)};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        box.talker[axis] = box.size[axis] * random.uniform(0.1, 0.9);
        box.ear[axis] = box.size[axis] * random.uniform(0.1, 0.9);
        box.reflection[axis] = random.uniform(0.3, 0.95);
    }
    return box;
}

// A pulse between two samples.
void addPulse(Samples& response, double at, double gain) {
    const std::size_t whole = static_cast<std::size_t>(at);
    if (whole + 1 >= response.size()) return;
    const double part = at - static_cast<double>(whole);
    response[whole] += static_cast<float>(gain * (1.0 - part));
    response[whole + 1] += static_cast<float>(gain * part);
}

// The images of the talker behind the walls, later than the direct sound by at most `until` samples.
void addImages(Samples& response, const Box& box, double until) {
    const double direct = std::max(distance(box.talker, box.ear), 0.1);
    for (int x = -kOrder; x <= kOrder; ++x)
        for (int y = -kOrder; y <= kOrder; ++y)
            for (int z = -kOrder; z <= kOrder; ++z) {
                if (x == 0 && y == 0 && z == 0) continue;
                const std::array<int, 3> number = {x, y, z};
                Point image = {};
                double gain = 1.0;
                for (std::size_t axis = 0; axis < 3; ++axis) {
                    const double place = box.talker[axis];
                    image[axis] =
                        number[axis] * box.size[axis] + (number[axis] % 2 == 0 ? place : box.size[axis] - place);
                    gain *= std::pow(box.reflection[axis], std::abs(number[axis]));
                }
                const double far = std::max(distance(image, box.ear), direct), delay = (far - direct) / kSound * kRate;
                if (delay < until) addPulse(response, delay, gain * direct / far);
            }
}

// Noise that decays, its high frequencies sooner: two parts with a decay of their own.
void addTail(Samples& response, double from, double seconds, double level, Random& random) {
    const double corner = random.logUniform(400.0, 6000.0), highSeconds = seconds * random.uniform(0.3, 0.9);
    const float pole = static_cast<float>(1.0 - std::exp(-2.0 * M_PI * corner / kRate));
    float low = 0.0f, lowGain = static_cast<float>(level), highGain = lowGain;
    const float lowDecay = static_cast<float>(std::exp(-6.9 / kRate / seconds)),
                highDecay = static_cast<float>(std::exp(-6.9 / kRate / highSeconds));
    for (std::size_t i = 0; i < response.size(); ++i, lowGain *= lowDecay, highGain *= highDecay) {
        const float x = random.white();
        low += pole * (x - low);
        const float rise = static_cast<float>(std::min(1.0, static_cast<double>(i) / from));
        response[i] += rise * rise * (lowGain * low + highGain * (x - low));
    }
}

void dampen(Samples& response, double corner) {
    const float pole = static_cast<float>(1.0 - std::exp(-2.0 * M_PI * corner / kRate));
    float low = 0.0f;
    for (float& x : response) x = low += pole * (x - low);
}

}  // namespace

Samples drawRoom(Random& random) {
    const double seconds = random.logUniform(0.1, 1.2);
    Samples response(static_cast<std::size_t>(std::min(seconds, kLongest) * kRate), 0.0f);
    const double early = random.logUniform(0.005, 0.05) * kRate;  // [samples] until the tail has risen
    const Box box = drawBox(random);
    addImages(response, box, 2.0 * early);
    const double images = level(response) * std::sqrt(static_cast<double>(response.size()));
    Samples tail(response.size(), 0.0f);
    addTail(tail, early, seconds, 1.0, random);
    addAtLevel(response, tail, std::max(images, 0.05) / std::sqrt(static_cast<double>(response.size())),
               decibels(random.uniform(-8.0, 8.0)));
    dampen(response, random.logUniform(kWallCornerLow, kWallCornerHigh));
    const double all = level(response) * std::sqrt(static_cast<double>(response.size()));
    scale(response, decibels(random.uniform(-12.0, 6.0)) / std::max(all, 1e-9));
    response[0] += 1.0f;
    return response;
}

void reverberate(Samples& samples, Random& random) { samples = convolve(samples, drawRoom(random)); }

}  // namespace katessel::training
