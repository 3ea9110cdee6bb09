// Several voices at once: a tracker for each thread.
//
//     c++ -std=c++17 -pthread 04_threads.cpp $(pkg-config --cflags --libs katessel) && ./a.out
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <future>
#include <katessel/Tracker.hpp>
#include <vector>

#include "melody.h"

namespace {

// The median frequency of a melody's last note.
float lastNote(double lowest) {
    constexpr int rate = 48000;
    std::vector<float> sound(static_cast<std::size_t>(MELODY_SECONDS * rate) + 1);
    sound.resize(static_cast<std::size_t>(make_melody(rate, lowest, sound.data())));
    KaTessel::Tracker tracker(rate);
    std::vector<float> frequencies;
    tracker.process(sound, [&](const KaTessel::Pitch& pitch) {
        if (pitch.time > 1.25 && pitch.time < 1.55 && pitch.voiced(0.5f)) frequencies.push_back(pitch.frequency);
    });
    if (frequencies.empty()) return 0.0f;
    const auto middle = frequencies.begin() + static_cast<std::ptrdiff_t>(frequencies.size() / 2);
    std::nth_element(frequencies.begin(), middle, frequencies.end());
    return *middle;
}

}  // namespace

int main() {
    const double lowest[] = {110.0, 146.83, 220.0, 293.66};
    std::vector<std::future<float>> voices;
    for (const double frequency : lowest) voices.push_back(std::async(std::launch::async, lastNote, frequency));
    try {
        for (std::size_t i = 0; i < voices.size(); ++i) {
            const double octaves = std::log2(voices[i].get() / lowest[i]);
            std::printf("the voice from %.0f Hz ends %.0f semitones higher\n", lowest[i], 12.0 * octaves);
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
