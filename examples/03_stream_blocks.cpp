// A host in C++: blocks of any size at any rate; no block loses a sample and no value is missed.
//
//     c++ -std=c++17 03_stream_blocks.cpp $(pkg-config --cflags --libs katessel) && ./a.out
#include <algorithm>
#include <cstdio>
#include <exception>
#include <katessel/Tracker.hpp>
#include <vector>

#include "melody.h"
#include "notes.h"

int main() {
    constexpr int rate = 44100;
    std::vector<float> sound(static_cast<std::size_t>(MELODY_SECONDS * rate) + 1);
    sound.resize(static_cast<std::size_t>(make_melody(rate, 220.0, sound.data())));
    try {
        KaTessel::Tracker tracker(rate);
        std::printf("a value comes %.1f ms behind its instant\n", 1e3 * tracker.latency() / rate);
        note_printer notes = {};
        const auto print = [&](const KaTessel::Pitch& pitch) {
            print_note(&notes, pitch.time, pitch.frequency, pitch.voiced(0.5f));
        };
        const std::size_t block = 500;
        for (std::size_t at = 0; at < sound.size(); at += block)
            tracker.process(sound.data() + at, std::min(block, sound.size() - at), print);
        tracker.finish(print);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
