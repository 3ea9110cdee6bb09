// What configuring leaves in an engine, and its figures of latency and frames.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <memory>
#include <cstdlib>
#include <cstring>
#include <new>
#include <numeric>
#include <utility>

#include "engine/NaiveEngine.h"
#include "katessel/CTessel.h"
#include "katessel/KTessel.h"
#include "katessel/LayerWeights.h"
#include "support/AllocationCounter.h"
#include "support/CapturedStdout.h"
#include "support/TemporaryFolder.h"

namespace KaTessel::tests {
namespace {

class PlainConfigure : public testing::Test {
protected:
    PlainConfigure() : random(47) { NaiveEngine(random).saveModel(model()); }
    std::string model() const { return folder.file("random.weights"); }
    TemporaryFolder folder;
    Random random;
};

TEST_F(PlainConfigure, BuildsAnEngineOfTheRightShape) {
    CTessel engine;
    EXPECT_EQ(engine.rateRatio, 1.0f);
    EXPECT_EQ(engine.reservedFloat, -10000.0f);
    EXPECT_EQ(engine.ring, nullptr);
    ASSERT_EQ(engine.configure(48000, 99, 512, model().c_str()), 0);
    EXPECT_EQ(engine.hopSize, 120);
    EXPECT_EQ(engine.rateRatio, 2.0f);
    EXPECT_EQ(engine.receptiveField, 9);
    EXPECT_EQ(engine.lookahead, 4);
    EXPECT_EQ(engine.featureHistory, std::vector(9, std::vector<float>(150, 0.0f)));
    EXPECT_EQ(engine.encoderConf.file, model());
    EXPECT_EQ(engine.encoder->layers[1].dilation, 2);
    EXPECT_EQ(engine.complexSpectrum, nullptr);
    EXPECT_EQ(engine.spectrum.resolutionCount(), 69) << "windows are not left to the first frame";

    CTessel native;
    native.configure(24000, 0, 512, model().c_str());
    EXPECT_EQ(native.rateRatio, 1.0f);
    EXPECT_EQ(native.resampled, nullptr);
    EXPECT_EQ(native.resampler.work, nullptr) << "no converter at 24 kHz";
}

// Unit areas in Hz, figures of single bands, and nothing outside a band's run of bins.
TEST_F(PlainConfigure, HoldsTheFilterbank) {
    CTessel engine;
    engine.configure(24000, 0, 120, model().c_str());
    int nonZero = 0;
    for (int b = 0; b < 150; ++b) {
        const float* row = engine.filterbank[b];
        const double sum = std::accumulate(row, row + 513, 0.0);
        EXPECT_GT(sum, 0.039) << "band " << b;
        EXPECT_LT(sum, 0.052) << "band " << b;
        for (int k = 0; k < 513; ++k) nonZero += row[k] != 0.0f;
    }
    EXPECT_EQ(nonZero, 589);
    const std::vector<float> band140 = {0.00087856f, 0.0027268f, 0.004575f,  0.0064233f, 0.0082715f,
                                        0.0075781f,  0.0057659f, 0.0039536f, 0.0021414f, 0.00032918f};
    for (int i = 0; i < 10; ++i)
        EXPECT_NEAR(engine.filterbank[140][241 + i], band140[static_cast<std::size_t>(i)], 1e-7f) << "bin " << 241 + i;
    EXPECT_NEAR(engine.filterbank[0][1], 0.0506174f, 1e-7f);
    EXPECT_NE(engine.filterbank[149][288], 0.0f);
    EXPECT_NE(engine.filterbank[149][298], 0.0f);
    EXPECT_EQ(engine.filterbank[149][299], 0.0f);
}

TEST_F(PlainConfigure, RefusesAMissingModelAndChangesNothing) {
    CTessel engine;
    const AllocationCounter counter;
    EXPECT_EQ(engine.configure(48000, 0, 512, "/no/such/file"), -1);
    EXPECT_EQ(counter.allocations(), counter.releases());
    EXPECT_EQ(engine.sampleRate, 0);
    EXPECT_EQ(engine.ring, nullptr);

    engine.configure(44100, 0, 512, model().c_str());
    T_WN2* network = engine.encoder;
    EXPECT_EQ(engine.configure(48000, 0, 512, "/no/such/file"), -1);
    EXPECT_EQ(engine.sampleRate, 44100);
    EXPECT_EQ(engine.encoder, network);

    // A folder exists: the engine is made, of zeros, and says which layers it lacks.
    CapturedStdout output;
    EXPECT_EQ(engine.configure(48000, 0, 512, folder.path().c_str()), 0);
    const std::string text = output.text();
    EXPECT_EQ(text.rfind("WARNING: ENCODER_initial_causal_conv not loaded!\n", 0), 0u) << text;
    EXPECT_NE(text.find("WARNING: enc_out2 not loaded!\n"), std::string::npos) << text;
    EXPECT_THROW(engine.configure(48000, 0, -1000, model().c_str()), std::bad_array_new_length);
}

TEST_F(PlainConfigure, StartsAnewWhenRepeated) {
    const std::vector<float> sound = voiceWithNoise(random, 4800, 48000);
    CTessel engine, fresh;
    float f0 = 0.0f, confidence = 0.0f, freshF0 = 0.0f, freshConfidence = 0.0f;
    engine.configure(24000, 0, 4800, model().c_str());
    engine.doProcess(sound.data(), 4800, &f0, &confidence, 1);
    engine.configure(48000, 0, 4800, model().c_str());
    EXPECT_EQ(engine.lookahead, 8) << "the sum goes on from the first time";
    EXPECT_EQ(engine.lastF0, 0.0f);
    EXPECT_EQ(engine.lastConfidence, 0.0f);
    fresh.configure(48000, 0, 4800, model().c_str());
    engine.doProcess(sound.data(), 4800, &f0, &confidence, 1);
    fresh.doProcess(sound.data(), 4800, &freshF0, &freshConfidence, 1);
    EXPECT_EQ(f0, freshF0);
    EXPECT_EQ(confidence, freshConfidence);
    engine.configure(24000, 0, 4800, model().c_str());
    EXPECT_EQ(engine.rateRatio, 2.0f) << "kept while no conversion is needed";
    EXPECT_EQ(engine.GetTotalSamplesLatency(), 1080) << "and not applied";
}

// The filterbank is part of what engines share, and shows which of them do.
TEST_F(PlainConfigure, EnginesOfEqualWeightsShareWhatTheyComputeWith) {
    const AllocationCounter life;
    {
        std::string copied;
        {
            LayerFile file;
            ASSERT_TRUE(file.read(model()));
            copied = folder.file("copied.weights");
            std::filesystem::copy_file(pathOf(model()), pathOf(copied));
            auto first = std::make_unique<CTessel>();
            CTessel second, other;
            first->configure(24000, 0, 120, model().c_str());
            const AllocationCounter counter;
            second.configure(48000, 0, 4800, copied.c_str());
            EXPECT_EQ(second.filterbank, first->filterbank);
            EXPECT_LT(counter.largestRequest(), 200000u) << "neither packed weights nor long arrays of its own";

            // One weight or bias of any layer makes another model, whether it is compared in a tile or by itself.
            for (int l = 0; l < file.layerCount(); ++l)
                for (int t = 0; t < file.layers()[l].tensorCount; ++t) {
                    T_FileTensor& tensor = file.layers()[l].tensors[t];
                    for (const int changed : {0, tensor.count - 1}) {
                        const float value = std::exchange(tensor.values[changed], 9.0f);
                        other.configure(24000, 0, 120, file);
                        EXPECT_NE(other.filterbank, first->filterbank) << file.layers()[l].name << ", tensor " << t;
                        tensor.values[changed] = value;
                    }
                }

            // The first engine's end is not the model's.
            const std::vector<float> sound = voiceWithNoise(random, 4800, 48000);
            float f0 = 0.0f, confidence = 0.0f, sameF0 = 0.0f;
            first.reset();
            second.doProcess(sound.data(), 4800, &f0, &confidence, 1);
            CTessel third;
            third.configure(48000, 0, 4800, model().c_str());
            EXPECT_EQ(third.filterbank, second.filterbank);
            third.doProcess(sound.data(), 4800, &sameF0, &confidence, 1);
            EXPECT_EQ(f0, sameF0);
        }
    }
    // The register of models, in it the marks of the two that ended last, and on some systems its mutex.
    EXPECT_LE(life.allocations() - life.releases(), 4);
}

TEST_F(PlainConfigure, KnowsLatencyAndFrames) {
    const struct {
        int rate, latency, samples, frames;
    } rows[] = {{24000, 1080, 24000, 200}, {48000, 2160, 48000, 200}, {44100, 1984, 441, 2},   {8000, 400, 8000, 200},
                {96000, 4800, 240, 1},     {88200, 4410, 660, 1},     {16000, 720, 40, 1},     {16000, 720, 39, 0},
                {32000, 1440, 400, 3},     {22050, 992, 0, 0},        {11025, 496, 11025, 200}};
    for (const auto& row : rows) {
        void* handle = KTessel_Create();
        ASSERT_EQ(KTessel_Configure(row.rate, 0, 480, model().c_str(), handle), 0);
        EXPECT_EQ(KTessel_GetTotalSamplesLatency(handle), row.latency) << row.rate << " Hz";
        EXPECT_EQ(KTessel_GetNumOutputFramesForInputSamples(row.samples, handle), row.frames)
            << row.samples << " samples at " << row.rate << " Hz";
        KTessel_Destroy(handle);
    }
    EXPECT_EQ(KTessel_GetAnalysisLatency(), 1);
    KTessel_Destroy(nullptr);
}

TEST(PlainLibrary, TellsItsVersion) {
    EXPECT_STREQ(KTessel_GetVersion(), "KaTesselLib version 1.0 [23042021]");
    char text[40];
    std::memset(text, 'x', sizeof text);
    EXPECT_EQ(KTessel_GetVersionInfo(text), 34);
    EXPECT_STREQ(text, KTessel_GetVersion());
    EXPECT_EQ(text[35], 'x');
    char* copy = KTessel_GetVer();
    EXPECT_STREQ(copy, KTessel_GetVersion());
    EXPECT_NE(copy, KTessel_GetVersion());
    std::free(copy);
}

}  // namespace
}  // namespace KaTessel::tests
