// What is trained is what the engine computes: the exported weights give the same outputs in both of its forms, and come
// back from the file.
#include "WeightExport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <unistd.h>

#include "recordings/base/Errors.h"
#include "FeatureExtractor.h"
#include "Loss.h"
#include "Voices.h"
#include "katessel/KTessel.h"

namespace katessel::training {
namespace {

constexpr int kFrames = 60;

// What the engine reads from the first output.
double cents(double output, double offset) { return 1200.0 * ((output + 1.0) * 2.187756 - offset); }

class PlainWeightExport : public testing::Test {
protected:
    PlainWeightExport() : m_network(7, torch::rand({kFeatures}), torch::rand({kFeatures}) + 0.5) {
        const torch::NoGradGuard noGradients;
        // Every bias must tell, and outputs well inside the range.
        for (torch::Tensor& value : m_network.parameters())
            if (value.dim() == 1) value.add_(0.1 * torch::randn_like(value));
        exportWeights(m_network, m_path);
        Random random(3);
        m_sound = drawVoice(170.0, kFrames, random);
        m_features = torch::empty({kFrames, 1, kFeatures});
        FeatureExtractor(m_path).extract(m_sound.samples, kFrames, m_features.data_ptr<float>());
        m_network.forward(m_features, &m_streaming, &m_offline);
    }
    ~PlainWeightExport() override { std::filesystem::remove(m_path); }

    const std::string m_path =
        (std::filesystem::temp_directory_path() / ("export" + std::to_string(getpid()) + ".weights")).string();
    Network m_network;
    LabelledSound m_sound;
    torch::Tensor m_features;
    FormOutput m_streaming, m_offline;
};

TEST_F(PlainWeightExport, StreamingOutputsAreTheEngines) {
    KaTessel::CTessel engine;
    ASSERT_EQ(engine.configure(kRate, 0, kHop, m_path.c_str()), 0);
    void* host = KTessel_Create();
    ASSERT_EQ(KTessel_Configure(kRate, 0, kWindow, m_path.c_str(), host), 0);
    const float* samples = m_sound.samples.data();
    float read = 0.0f, confidence = 0.0f;
    KTessel_DoProcess(samples, kWindow - 1 - kHop, &read, &confidence, 1, host);
    for (int t = 0; t < kFrames; ++t) {
        engine.networkStage(m_features.data_ptr<float>() + t * kFeatures);
        engine.headStage();
        KTessel_DoProcess(samples + kWindow - 1 + (t - 1) * kHop, kHop, &read, &confidence, 1, host);
        if (t < kReach) continue;
        const torch::Tensor expected = m_streaming.heads[t - kReach];
        EXPECT_NEAR(engine.headOut[0], expected[0].item<float>(), 2e-5) << "frame " << t;
        EXPECT_NEAR(engine.headOut[1], expected[1].item<float>(), 2e-5) << "frame " << t;
        EXPECT_NEAR(read, cents(expected[0].item<double>(), kStreamingOffset), 0.1) << "frame " << t;
    }
    KTessel_Destroy(host);
}

TEST_F(PlainWeightExport, OfflineOutputsAreTheEngines) {
    // Offline frame f is centred on sample f * kHop, frame i of the features on kCentre + i * kHop.
    const int skipped = kCentre % kHop, shift = kCentre / kHop;
    void* engine = KTessel_Create();
    ASSERT_EQ(KTessel_Configure(kRate, 0, 1, m_path.c_str(), engine), 0);
    std::vector<float> read(100), confidence(100);
    const int frames =
        KTessel_DoProcessOffline(m_sound.samples.data() + skipped, static_cast<int>(m_sound.samples.size()) - skipped,
                                 read.data(), confidence.data(), 1, engine);
    KTessel_Destroy(engine);
    ASSERT_GE(frames, kFrames);
    for (int w = 0; w < kFrames - kReach; ++w) {
        const torch::Tensor expected = m_offline.heads[w];
        const std::size_t f = static_cast<std::size_t>(w + kAhead + shift);
        EXPECT_NEAR(read[f], cents(expected[0].item<double>(), kOfflineOffset), 0.1) << "frame " << f;
        EXPECT_NEAR(confidence[f], std::max(0.0, (0.04 - expected[1].item<double>()) * 25.0), 1e-3) << "frame " << f;
    }
}

// Into a network that sees the features through another normalisation.
TEST_F(PlainWeightExport, ImportedWeightsGiveTheSameOutputs) {
    Network other(8, torch::rand({kFeatures}), torch::rand({kFeatures}) + 0.5);
    importWeights(m_path, other);
    FormOutput streaming, offline;
    other.forward(m_features, &streaming, &offline);
    EXPECT_TRUE(torch::allclose(streaming.heads, m_streaming.heads, 1e-4, 1e-4));
    EXPECT_TRUE(torch::allclose(offline.heads, m_offline.heads, 1e-4, 1e-4));
    EXPECT_TRUE(torch::allclose(offline.middle, m_offline.middle, 1e-4, 1e-4));
    std::filesystem::resize_file(m_path, 1000);
    EXPECT_THROW(importWeights(m_path, other), ToolError);
}

}  // namespace
}  // namespace katessel::training
