// Engines side by side, one to a thread: each gives what it gives alone, and under the thread sanitizer no two of them touch
// the same memory.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "Sounds.h"
#include "katessel/KTessel.h"
#include "katessel/Tracker.hpp"

namespace KaTessel::tests {
namespace {

// All that the class and the C interface say of a glide at that rate, live and as a whole.
std::vector<float> heard(int rate) {
    const std::vector<float> sound = glide(rate, 0.4, 150.0, 300.0);
    std::vector<float> values;
    const auto note = [&](float frequency, float confidence) { values.insert(values.end(), {frequency, confidence}); };
    const auto notePitch = [&](const Pitch& pitch) { note(pitch.frequency, pitch.confidence); };

    Tracker tracker(rate, KATESSEL_MODEL_FILE);
    tracker.process(sound, notePitch);
    tracker.finish(notePitch);
    const PitchTrack whole = tracker.analyse(sound);
    for (std::size_t i = 0; i < whole.size(); ++i) notePitch(whole[i]);

    void* engine = KTessel_Create();
    const int block = rate / 200, samples = static_cast<int>(sound.size());
    KTessel_Configure(rate, 0, block, KATESSEL_MODEL_FILE, engine);
    for (int i = 0; i + block <= samples; i += block) {
        float frequency = 0.0f, confidence = 0.0f;
        KTessel_DoProcess(sound.data() + i, block, &frequency, &confidence, 0, engine);
        note(frequency, confidence);
    }
    KTessel_Destroy(engine);
    return values;
}

TEST(Threads, EveryEngineGivesWhatItGivesAlone) {
    const std::vector<int> rates = {16000, 24000, 44100, 48000};
    std::vector<std::vector<float>> together(rates.size());
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < rates.size(); ++i) threads.emplace_back([&, i] { together[i] = heard(rates[i]); });
    for (std::thread& thread : threads) thread.join();
    for (std::size_t i = 0; i < rates.size(); ++i) {
        EXPECT_GT(together[i].size(), 400u);
        EXPECT_EQ(together[i], heard(rates[i])) << rates[i];
    }
}

}  // namespace
}  // namespace KaTessel::tests
