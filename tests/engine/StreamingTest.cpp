// Live processing against the naive chain, and the rules of blocks, held values and the ring.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "base/FlushDenormals.h"
#include "engine/ConstantModel.h"
#include "engine/NaiveEngine.h"
#include "katessel/CTessel.h"
#include "katessel/Conv1x1.h"
#include "support/AllocationCounter.h"
#include "support/TemporaryFolder.h"

namespace KaTessel::tests {
namespace {

struct Pair {
    float f0, confidence;
    bool operator==(const Pair&) const = default;
};

// Feeds a signal in blocks; the pair after every block.
std::vector<Pair> feed(CTessel& engine, const std::vector<float>& sound, int block, int centsMode) {
    std::vector<Pair> pairs;
    for (std::size_t at = 0; at < sound.size(); at += static_cast<std::size_t>(block)) {
        const int count = static_cast<int>(std::min(sound.size() - at, static_cast<std::size_t>(block)));
        Pair pair{-1.0f, -1.0f};
        EXPECT_EQ(engine.doProcess(sound.data() + at, count, &pair.f0, &pair.confidence, centsMode), 1);
        pairs.push_back(pair);
    }
    return pairs;
}

class Streaming : public testing::Test {
protected:
    Streaming() : random(41), naive(random) { naive.saveModel(model()); }
    std::string model() const { return folder.file("random.weights"); }

    TemporaryFolder folder;
    Random random;
    NaiveEngine naive;
};

TEST_F(Streaming, EqualsTheNaiveChainAtEveryRate) {
    const struct {
        int rate, block;
    } rows[] = {{24000, 120}, {48000, 240}, {44100, 147}, {16000, 80}, {8000, 40}, {44100, 441}, {96000, 480}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.rate << " Hz in blocks of " << row.block);
        // The first row goes once around the ring, and begins with silence, which has the smallest energy there is.
        const int samples = row.rate == 24000 ? 26000 : row.rate / 8;
        std::vector<float> sound = voiceWithNoise(random, samples, row.rate);
        if (row.rate == 24000) std::fill_n(sound.begin(), 2048, 0.0f);
        Random sameAgain(41);
        NaiveEngine fresh(sameAgain);
        const std::vector<NaivePair> expected = fresh.stream(sound, row.rate, row.block);
        ASSERT_GE(expected.size(), 10u);

        CTessel engine;
        ASSERT_EQ(engine.configure(row.rate, 0, row.block, model().c_str()), 0);
        std::vector<Pair> actual = feed(engine, sound, row.block, 1);
        // With at most one frame per call a new frame shows as a new pair.
        actual.erase(std::unique(actual.begin(), actual.end()), actual.end());
        actual.erase(actual.begin());  // the zeros before the first frame
        if (row.block == 441) {        // two frames per call: the last one is seen
            EXPECT_NEAR(actual.back().f0, expected.back().octaves * 1200.0, kCentsTolerance);
            continue;
        }
        ASSERT_EQ(actual.size(), expected.size());
        double lowest = 1e9, highest = -1e9;
        for (std::size_t f = 0; f < expected.size(); ++f) {
            EXPECT_NEAR(actual[f].f0, expected[f].octaves * 1200.0, kCentsTolerance) << "frame " << f;
            EXPECT_NEAR(actual[f].confidence, expected[f].confidence, kConfidenceTolerance) << "frame " << f;
            lowest = std::min(lowest, expected[f].octaves * 1200.0);
            highest = std::max(highest, expected[f].octaves * 1200.0);
        }
        EXPECT_GT(highest - lowest, 20.0 * kCentsTolerance) << "the network hardly reacts: the test is blind";
    }
}

TEST_F(Streaming, BlockSplitsDoNotMatterAt24kHz) {
    const std::vector<float> sound = voiceWithNoise(random, 12000, 24000);
    CTessel single;
    single.configure(24000, 0, 1, model().c_str());
    const std::vector<Pair> everySample = feed(single, sound, 1, 0);
    for (int block : {7, 120, 1024, 5000}) {
        CTessel engine;
        engine.configure(24000, 0, block, model().c_str());
        const std::vector<Pair> pairs = feed(engine, sound, block, 0);
        for (std::size_t b = 0; b < pairs.size(); ++b) {
            const std::size_t end = std::min(sound.size(), (b + 1) * static_cast<std::size_t>(block));
            ASSERT_EQ(pairs[b], everySample[end - 1]) << "block " << b << " of " << block;
        }
    }
}

TEST_F(Streaming, TheEndBinsOfTheMagnitudeAreReal) {
    CTessel engine;
    engine.configure(24000, 0, 120, model().c_str());
    for (int i = 0; i < 1024; ++i) engine.frame[i] = i % 2 == 0 ? 0.75f : -0.25f;  // a constant and the highest tone
    engine.spectrumStage(engine.frame);
    EXPECT_GT(engine.complexSpectrum[0], 0.3f);
    EXPECT_EQ(engine.magnitude[0], std::fabs(engine.complexSpectrum[0]));
    EXPECT_EQ(engine.magnitude[512], std::fabs(engine.complexSpectrum[1]));
    EXPECT_GT(engine.magnitude[512], 0.3f);
    EXPECT_NEAR(engine.magnitude[511], std::hypot(engine.complexSpectrum[1022], engine.complexSpectrum[1023]), 1e-6);
}

// The engine computes with packed copies, the toolkit's functions with the public arrays of the same engine.
TEST_F(Streaming, TheStagesAgreeWithTheToolkit) {
    CTessel engine, other;
    engine.configure(24000, 0, 120, model().c_str());
    other.configure(24000, 0, 120, model().c_str());
    const std::vector<float> sound = voiceWithNoise(random, 1024 + 40 * 120, 24000);
    const auto expectNear = [](const float* actual, const float* expected, int n, const char* what) {
        float largest = 0.0f;
        for (int i = 0; i < n; ++i) largest = std::max(largest, std::fabs(expected[i]));
        EXPECT_GT(largest, 0.0f) << what;
        for (int i = 0; i < n; ++i) ASSERT_NEAR(actual[i], expected[i], 1e-5f * largest) << what << ' ' << i;
    };
    std::vector<float> features(150), spectrum(1024), hidden(120), outputs(2);
    float* out = spectrum.data();
    for (int f = 0; f < 40; ++f) {
        std::copy_n(sound.begin() + 120 * f, 1024, engine.frame);
        engine.spectrumStage(engine.frame);
        other.spectrum.DoMultiresolutionSpectrum(engine.frame, 1025, 10, -200.0f, nullptr, nullptr, nullptr, 3, &out,
                                                 1.0f, true, 12000.0f);
        expectNear(engine.complexSpectrum, spectrum.data(), 1024, "spectrum");
        engine.bandStage(features.data());
        engine.networkStage(features.data());
        wavenet2_step_noncausal(features.data(), other.encoder, -1000, nullptr);
        expectNear(engine.encoder->skipSum, other.encoder->skipSum, 120, "network");
        engine.headStage();
        for (int o = 0; o < 120; ++o) other.encoder->skipSum[o] *= other.encoder->skipSum[o] < 0.0f ? 0.2f : 1.0f;
        conv1x1(other.encoder->skipSum, hidden.data(), other.out1Weights, other.out1Bias, 120, 120, -1, -1, false,
                nullptr, 0, 0, 0, -1);
        for (float& value : hidden) value *= value < 0.0f ? 0.2f : 1.0f;
        expectNear(engine.hidden1, hidden.data(), 120, "hidden");
        conv1x1(hidden.data(), outputs.data(), other.out2Weights, other.out2Bias, 120, 2, -1, -1, false, nullptr, 0, 0,
                0, -1);
        expectNear(engine.headOut, outputs.data(), 2, "outputs");
        if (HasFatalFailure()) return;
    }
}

TEST_F(Streaming, AFrameNeeds1024SamplesAndAFullRingLooksEmpty) {
    const std::vector<float> sound = voiceWithNoise(random, 27000, 24000);
    const auto framesOf = [&](int samples) {
        CTessel engine;
        engine.configure(24000, 0, samples, model().c_str());
        feed(engine, std::vector<float>(sound.begin(), sound.begin() + samples), samples, 0);
        return engine.readPos / 120;
    };
    EXPECT_EQ(framesOf(1023), 0);
    EXPECT_EQ(framesOf(1024), 1);
    EXPECT_EQ(framesOf(1143), 1);
    EXPECT_EQ(framesOf(2400), 12);
    EXPECT_EQ(framesOf(24000), 0) << "one second at once fills the ring, which then looks empty";
    EXPECT_EQ(framesOf(27000), 17) << "the 3000 samples after it";

    // What is left of 27,000 samples is what an engine hears that got only the last 3000.
    CTessel all, last;
    all.configure(24000, 0, 27000, model().c_str());
    last.configure(24000, 0, 3000, model().c_str());
    EXPECT_EQ(feed(all, sound, 27000, 1).back(),
              feed(last, std::vector<float>(sound.end() - 3000, sound.end()), 3000, 1).back());
}

TEST_F(Streaming, HoldsTheLastPairAndConvertsUnits) {
    const std::vector<float> silence(1024, 0.0f);
    const struct {
        float pitch, voicing;
        double hz, cents, confidence;
    } rows[] = {
        {0.0f, 0.0f, 440.0 * std::exp2(-0.8788875), -0.8788875 * 1200.0, 1.0},
        {1.0f, 0.02f, 440.0 * std::exp2(1.3088685), 1.3088685 * 1200.0, 0.5},
        {-1.0f, 0.04f, 440.0 * std::exp2(-3.0666435), -3.0666435 * 1200.0, 0.0},
        {-3.40f, 0.5f, 440.0 * std::exp2(-2.4 * 2.187756 - 3.0666435), (-2.4 * 2.187756 - 3.0666435) * 1200.0, 0.0},
        {-3.41f, -0.06f, 0.0, (-2.41 * 2.187756 - 3.0666435) * 1200.0, 2.5},  // unvoiced; confidence is not clipped
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << "outputs " << row.pitch << ", " << row.voicing);
        const std::string path = folder.file("constant.weights");
        saveBytes(path, bytesOf(constantLayers(0.0f, row.pitch, row.voicing)));
        for (int centsMode : {0, 1, -7}) {
            CTessel engine;
            engine.configure(24000, 0, 1024, path.c_str());
            float f0 = -1.0f, confidence = -1.0f;
            engine.doProcess(silence.data(), 1023, &f0, &confidence, centsMode);
            EXPECT_EQ(f0, 0.0f);
            EXPECT_EQ(confidence, 0.0f);
            engine.doProcess(silence.data(), 1, &f0, &confidence, centsMode);
            const double expected = centsMode == 0 ? row.hz : row.cents;
            EXPECT_NEAR(f0, expected, 1e-5 * std::fabs(expected));
            EXPECT_NEAR(confidence, row.confidence, 1e-5);
            // No new frame: the same pair again, in the unit it was made in.
            float again = -1.0f;
            engine.doProcess(silence.data(), 100, &again, &confidence, centsMode == 0 ? 1 : 0);
            EXPECT_EQ(again, f0);
            EXPECT_NEAR(confidence, row.confidence, 1e-5);
        }
    }
}

// Denormal numbers take many times as long. Here none comes to be, and outside nothing changes.
TEST_F(Streaming, NoiseBelowTheSmallestNormalNumberIsSilence) {
    if (!FlushDenormals::kWorks) GTEST_SKIP() << "this processor always computes with denormal numbers";
    volatile float tiny = 1e-40f;
    for (int rate : {24000, 48000}) {
        CTessel engine;
        engine.configure(rate, 0, 24000, model().c_str());
        std::vector<float> noise = random.values(rate / 10);
        for (float& sample : noise) sample = sample < 0.0f ? -tiny : tiny;
        feed(engine, noise, rate / 10, 1);
        ASSERT_NE(engine.complexSpectrum, nullptr);
        EXPECT_EQ(std::vector<float>(engine.complexSpectrum, engine.complexSpectrum + 1024),
                  std::vector<float>(1024, 0.0f));
        EXPECT_GT(tiny * 2.0f, 0.0f);
    }
}

TEST_F(Streaming, AFrameAllocatesNothing) {
    for (int rate : {24000, 48000}) {
        CTessel engine;
        const int block = rate / 200;
        engine.configure(rate, 0, block, model().c_str());
        const std::vector<float> sound = voiceWithNoise(random, 60 * block, rate);
        float f0, confidence;
        int hop = 0;
        for (; hop < 2; ++hop) engine.doProcess(sound.data() + hop * block, block, &f0, &confidence, 0);
        const AllocationCounter counter;
        for (; hop < 60; ++hop) engine.doProcess(sound.data() + hop * block, block, &f0, &confidence, 0);
        EXPECT_EQ(counter.allocations(), 0) << rate << " Hz";
        EXPECT_EQ(counter.releases(), 0);
        EXPECT_NE(engine.complexSpectrum, nullptr) << "there were frames";
    }
}

}  // namespace
}  // namespace KaTessel::tests
