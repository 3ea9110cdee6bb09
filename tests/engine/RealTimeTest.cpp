// What an audio thread may rely on: a block costs no call of the system, so that nothing can make it wait.
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <utility>
#include <vector>

#include "engine/NaiveEngine.h"
#include "katessel/Globals.h"
#include "katessel/KTessel.h"
#include "support/TemporaryFolder.h"
#include "support/WithoutSystem.h"

namespace KaTessel::tests {
namespace {

TEST(RealTime, ABlockCallsNoSystem) {
    const int measures = std::exchange(performance_analysis_, 0);  // the sum of processor time is the system's to tell
    Random random(48);
    const TemporaryFolder folder;
    NaiveEngine(random).saveModel(folder.file("random.weights"));
    for (const int rate : {8000, 11025, 16000, 22050, 24000, 32000, 44100, 48000, 88200, 96000, 192000}) {
        const int block = rate / 100;
        const std::vector<float> sound = voiceWithNoise(random, block * 10, rate);
        void* const engine = KTessel_Create();
        ASSERT_EQ(KTessel_Configure(rate, 0, block, folder.file("random.weights").c_str(), engine), 0);
        float f0 = 0.0f, confidence = 0.0f;
        const auto process = [&] {
            for (int at = 0; at < block * 10; at += block)
                KTessel_DoProcess(sound.data() + at, block, &f0, &confidence, 0, engine);
        };
        process();  // the first frame is in it
        const int status = statusWithoutSystem([&] {
            for (int second = 0; second < 3; ++second) process();
        });
        EXPECT_EQ(status, 0) << rate << " Hz";
        KTessel_Destroy(engine);
    }
    EXPECT_EQ(statusWithoutSystem([] { getppid(); }), SIGKILL) << "and one that does is seen";
    performance_analysis_ = measures;
}

}  // namespace
}  // namespace KaTessel::tests
