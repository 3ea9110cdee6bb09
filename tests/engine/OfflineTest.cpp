// Whole recordings against the naive chain.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "engine/NaiveEngine.h"
#include "katessel/CTessel.h"
#include "support/AllocationCounter.h"
#include "support/GuardedBuffer.h"
#include "support/TemporaryFolder.h"

namespace KaTessel::tests {
namespace {

class Offline : public testing::Test {
protected:
    Offline() : random(43), naive(random) { naive.saveModel(model()); }
    std::string model() const { return folder.file("random.weights"); }

    void expectEqual(const std::vector<NaivePair>& expected, const GuardedBuffer& cents,
                     const GuardedBuffer& confidence, double centsTolerance) {
        for (std::size_t f = 0; f < expected.size(); ++f) {
            ASSERT_NEAR(cents[static_cast<int>(f)], expected[f].octaves * 1200.0, centsTolerance) << "frame " << f;
            ASSERT_NEAR(confidence[static_cast<int>(f)], expected[f].confidence, kConfidenceTolerance);
        }
    }

    TemporaryFolder folder;
    Random random;
    NaiveEngine naive;
};

TEST_F(Offline, EqualsTheNaiveChainAtEveryRateAndLength) {
    const struct {
        int rate, samples;
    } rows[] = {{24000, 3000}, {24000, 119},  {24000, 120},    {24000, 0},    {24000, 121},
                {24000, 359},  {24000, 1000}, {48000, 6000},   {44100, 5001}, {16000, 1999},
                {8000, 1000},  {96000, 9000}, {192000, 15000}, {11025, 700}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.samples << " samples at " << row.rate << " Hz");
        std::vector<float> sound = voiceWithNoise(random, row.samples, row.rate);
        if (row.samples == 3000) std::fill_n(sound.begin(), 2048, 0.0f);  // silence has the smallest energy there is
        const std::vector<NaivePair> expected = naive.offline(sound, row.rate);
        const int frames = static_cast<int>(expected.size());
        GuardedBuffer f0(frames), confidence(frames);
        CTessel engine;
        ASSERT_EQ(engine.configure(row.rate, 0, 480, model().c_str()), 0);
        ASSERT_EQ(engine.doProcessOffline(sound.data(), row.samples, f0.data(), confidence.data(), 1), frames);
        expectEqual(expected, f0, confidence, kCentsTolerance);
        EXPECT_TRUE(f0.intact());
        EXPECT_TRUE(confidence.intact());

        // In Hz: the same octaves, with the gate far below them.
        GuardedBuffer hz(frames);
        engine.doProcessOffline(sound.data(), row.samples, hz.data(), confidence.data(), 0);
        for (int f = 0; f < frames; ++f)
            EXPECT_NEAR(hz[f], 440.0 * std::exp2(f0[f] / 1200.0), 1e-4 * std::fabs(hz[f])) << "frame " << f;
    }
}

// Long signals are taken in pieces; neither the network's nor the converter's seams may show.
TEST_F(Offline, SeamsOfLongSignalsDoNotShow) {
    for (int rate : {24000, 44100}) {
        std::vector<float> sound = voiceWithNoise(random, rate * 6, rate);
        // A level of its own for every 5 ms: neighbouring frames must not be able to stand in for each other.
        float level = 1.0f;
        for (std::size_t i = 0; i < sound.size(); ++i) {
            if (i % static_cast<std::size_t>(rate / 200) == 0) level = std::pow(10.0f, random.uniform(-4.0f, 0.0f));
            sound[i] *= level;
        }
        CTessel engine;
        engine.configure(rate, 0, 480, model().c_str());
        const int frames = 1200;
        GuardedBuffer f0(frames), confidence(frames);
        const AllocationCounter counter;
        ASSERT_EQ(engine.doProcessOffline(sound.data(), rate * 6, f0.data(), confidence.data(), 1), frames);
        EXPECT_LT(counter.largestRequest(), 2000000u) << "memory must not grow with the signal";

        // The features of every frame as the engine computes them, the network by its definition over all of them.
        std::vector<float> internal(sound);
        if (rate != 24000) {
            KaResample::CKaResample converter;
            converter.configure(rate * 6);
            internal.resize(144000);
            converter.doProcess(sound.data(), rate * 6, internal.data(), engine.rateRatio, 144000);
        }
        Signal features;
        std::vector<float> frame(1025), row(150);
        for (int f = 0; f < frames; ++f) {
            for (int i = 0; i < 1025; ++i) {
                const int at = f * 120 - 512 + i;
                frame[static_cast<std::size_t>(i)] =
                    at >= 0 && at < 144000 ? internal[static_cast<std::size_t>(at)] : 0.0f;
            }
            engine.spectrumStage(frame.data());
            engine.bandStage(row.data());
            features.emplace_back(row.begin(), row.end());
        }
        // The features are equal up to a few units in the last place: only the network's rounding is left.
        expectEqual(naive.offlineNetwork(features), f0, confidence, 0.01);
    }
}

// The analyser is public: an application may have used it for something else.
TEST_F(Offline, BringsItsOwnWindows) {
    const std::vector<float> sound = voiceWithNoise(random, 4800, 24000);
    CTessel engine;
    engine.configure(24000, 0, 120, model().c_str());
    std::vector<float> before(40), after(40), confidence(40), other(2049, 0.1f);
    engine.doProcessOffline(sound.data(), 4800, before.data(), confidence.data(), 1);
    for (long length : {2049L, 257L}) {
        float* spectrum = nullptr;
        long lastBin = 0;
        engine.spectrum.DoMultiresolutionSpectrum(other.data(), length, 10, 0.0f, nullptr, nullptr, &lastBin, 3,
                                                  &spectrum, 1.0f, true, 12000.0f);
        delete[] spectrum;
        engine.doProcessOffline(sound.data(), 4800, after.data(), confidence.data(), 1);
        EXPECT_EQ(before, after) << length;
    }
    engine.spectrum.FreeMR();
    engine.doProcessOffline(sound.data(), 4800, after.data(), confidence.data(), 1);
    EXPECT_EQ(before, after);
}

TEST_F(Offline, DoesNotDisturbAStream) {
    const std::vector<float> sound = voiceWithNoise(random, 4800, 48000);
    const auto stream = [&](bool interrupted) {
        CTessel engine;
        engine.configure(48000, 0, 240, model().c_str());
        std::vector<float> track, offline(20), confidences(20);
        for (int at = 0; at < 4800; at += 240) {
            float f0, confidence;
            engine.doProcess(sound.data() + at, 240, &f0, &confidence, 1);
            track.push_back(f0);
            if (interrupted) engine.doProcessOffline(sound.data(), 4800, offline.data(), confidences.data(), 0);
        }
        return track;
    };
    EXPECT_EQ(stream(false), stream(true));
}

}  // namespace
}  // namespace KaTessel::tests
