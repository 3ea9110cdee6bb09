// Engines that start again, that take their weights from memory, and that are configured while the file changes.
#include <gtest/gtest.h>

#ifndef _WIN32
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>
#include <vector>

#include "engine/ConstantModel.h"
#include "engine/NaiveEngine.h"
#include "katessel/CTessel.h"
#include "katessel/KTesselExt.h"
#include "support/AllocationCounter.h"
#include "support/CapturedStdout.h"
#include "support/TemporaryFolder.h"

namespace KaTessel::tests {
namespace {

// Frequency and confidence after every block, one behind the other.
std::vector<float> feed(CTessel& engine, const std::vector<float>& sound, std::size_t block) {
    std::vector<float> pairs;
    for (std::size_t at = 0; at + block <= sound.size(); at += block) {
        float f0 = -1.0f, confidence = -1.0f;
        engine.doProcess(sound.data() + at, static_cast<int>(block), &f0, &confidence, 1);
        pairs.insert(pairs.end(), {f0, confidence});
    }
    return pairs;
}

class Reset : public testing::Test {
protected:
    Reset() : random(53) {
        NaiveEngine(random).saveModel(model());
        std::ifstream in(pathOf(model()), std::ios::binary);
        weights.assign(std::istreambuf_iterator<char>(in), {});
    }
    std::string model() const { return folder.file("random.weights"); }
    std::string firstFault(const std::string& bytes) const {
        char fault[200] = "untouched";
        const int result = KTesselExt_CheckWeights(bytes.data(), bytes.size(), fault, sizeof fault);
        EXPECT_EQ(result, *fault == '\0' ? KTESSELEXT_OK : KTESSELEXT_BAD_MODEL);
        return fault;
    }

    TemporaryFolder folder;
    Random random;
    std::string weights;
};

TEST_F(Reset, EqualsANewEngineWithoutFileOrMemory) {
    for (const auto& [rate, block] :
         {std::pair(24000, 120), {48000, 240}, {44100, 147}, {11025, 60}, {8000, 40}, {192000, 960}}) {
        SCOPED_TRACE(rate);
        const std::vector<float> sound = voiceWithNoise(random, rate / 4, rate),
                                 other = voiceWithNoise(random, rate, rate);
        saveBytes(model(), weights);
        CTessel fresh, engine;
        ASSERT_EQ(fresh.configure(rate, 0, block, model().c_str()), 0);
        ASSERT_EQ(engine.configure(rate, 0, block, model().c_str()), 0);
        const std::vector<float> expected = feed(fresh, sound, static_cast<std::size_t>(block));
        ASSERT_NE(expected.front(), expected.back());
        // Neither a file that is cut short nor one that is gone matters; nor how much was heard: none, half a frame,
        // more than the ring holds.
        saveBytes(model(), weights.substr(0, weights.size() / 2));
        for (const double seconds : {0.0, 0.02, 0.3, 1.0}) {
            const auto end = other.begin() + static_cast<std::ptrdiff_t>(seconds * rate);
            feed(engine, std::vector<float>(other.begin(), end), static_cast<std::size_t>(block));
            const AllocationCounter counter;
            EXPECT_EQ(KTesselExt_Reset(&engine), KTESSELEXT_OK);
            EXPECT_EQ(counter.allocations() + counter.releases(), 0);
            EXPECT_EQ(engine.lastF0, 0.0f);
            EXPECT_EQ(feed(engine, sound, static_cast<std::size_t>(block)), expected) << seconds << " s before";
            std::filesystem::remove(pathOf(model()));
        }
    }
    CTessel never;
    never.reset();
    EXPECT_EQ(KTesselExt_Reset(&never), KTESSELEXT_BAD_ARGUMENT);
    EXPECT_EQ(KTesselExt_Reset(nullptr), KTESSELEXT_BAD_ARGUMENT);
}

TEST_F(Reset, WeightsFromMemoryGiveTheSameEngine) {
    const std::vector<float> sound = voiceWithNoise(random, 12000, 48000);
    CTessel fromFile, engine;
    fromFile.configure(48000, 0, 240, model().c_str());
    const std::vector<float> expected = feed(fromFile, sound, 240);
    ASSERT_EQ(firstFault(weights), "");
    std::string borrowed = weights;
    ASSERT_EQ(KTesselExt_ConfigureFromMemory(48000, 240, borrowed.data(), borrowed.size(), &engine), KTESSELEXT_OK);
    borrowed.assign(borrowed.size(), 'x');
    EXPECT_EQ(engine.modelPath, "");
    EXPECT_EQ(feed(engine, sound, 240), expected);

    // Refused, without a word on standard output, and the engine is as it was.
    CapturedStdout output;
    engine.reset();
    const char* const good = weights.data();
    for (const int rate : {-1, 0, 999, 240001})
        EXPECT_EQ(KTesselExt_ConfigureFromMemory(rate, 1, good, weights.size(), &engine), KTESSELEXT_BAD_ARGUMENT);
    for (const int block : {-240, 0, 16001})
        EXPECT_EQ(KTesselExt_ConfigureFromMemory(16000, block, good, weights.size(), &engine), KTESSELEXT_BAD_ARGUMENT);
    EXPECT_EQ(KTesselExt_ConfigureFromMemory(16000, 80, nullptr, 9, &engine), KTESSELEXT_BAD_ARGUMENT);
    EXPECT_EQ(KTesselExt_ConfigureFromMemory(16000, 80, good, weights.size(), nullptr), KTESSELEXT_BAD_ARGUMENT);
    std::vector<StoredLayer> layers = constantLayers(0.5f, 0.0f, 0.0f);
    layers.back().tensors.front() = constantTensor({120, 3}, 0.5f);  // would end the process
    for (const std::string& bad : {weights.substr(0, weights.size() - 1), std::string(), bytesOf(layers)}) {
        EXPECT_EQ(KTesselExt_ConfigureFromMemory(16000, 80, bad.data(), bad.size(), &engine), KTESSELEXT_BAD_MODEL);
        EXPECT_NE(firstFault(bad), "");
    }
    EXPECT_EQ(output.text(), "");
    EXPECT_EQ(feed(engine, sound, 240), expected);

    // Without the filter's table, as when there was no memory for it.
    std::free(engine.resampler.interp.table);
    engine.resampler.interp.table = nullptr;
    EXPECT_EQ(KTesselExt_ConfigureFromMemory(44100, 147, good, weights.size(), &engine), KTESSELEXT_NO_MEMORY);
    EXPECT_THROW(engine.configure(44100, 0, 147, model().c_str()), std::bad_alloc);
}

TEST_F(Reset, TheFirstFaultIsToldInTheRoomThereIs) {
    EXPECT_EQ(firstFault(weights.substr(0, 2)),
              "byte 2: expected a layer weight file, found one that ends within the layer count");
    std::vector<StoredLayer> layers = constantLayers(0.5f, 0.0f, 0.0f);
    layers[4].name = "other";
    const std::string lacking = bytesOf(layers);
    const std::string fault = firstFault(lacking);
    EXPECT_NE(fault.find("expected layer ENCODER_l1_res_tanh, found none of that name"), std::string::npos) << fault;
    char small[8] = "1234567";
    EXPECT_EQ(KTesselExt_CheckWeights(lacking.data(), lacking.size(), small, 5), KTESSELEXT_BAD_MODEL);
    EXPECT_EQ(std::string(small), "byte");
    EXPECT_EQ(small[5], '6');
    EXPECT_EQ(KTesselExt_CheckWeights(lacking.data(), lacking.size(), nullptr, 0), KTESSELEXT_BAD_MODEL);
    EXPECT_EQ(KTesselExt_CheckWeights(lacking.data(), lacking.size(), nullptr, 1), KTESSELEXT_BAD_ARGUMENT);
    EXPECT_EQ(KTesselExt_CheckWeightFile(model().c_str(), small, sizeof small), KTESSELEXT_OK);
    EXPECT_EQ(std::string(small), "");
    char text[200];
    EXPECT_EQ(KTesselExt_CheckWeightFile(folder.file("none").c_str(), text, sizeof text), KTESSELEXT_BAD_MODEL);
    EXPECT_STREQ(text, "expected a layer weight file, found one that cannot be opened: No such file or directory");
    EXPECT_EQ(KTesselExt_CheckWeightFile(folder.path().c_str(), text, sizeof text), KTESSELEXT_BAD_MODEL);
    EXPECT_EQ(KTesselExt_CheckWeightFile(nullptr, text, sizeof text), KTESSELEXT_BAD_ARGUMENT);
}

#ifndef _WIN32

// Whoever replaces a weight file while engines are made from it gets old ones and new ones, and none of both. Here every
// opening of the path yields another file.
TEST_F(Reset, AReplacedFileGivesNoMixedEngine) {
    std::filesystem::remove(pathOf(model()));
    ASSERT_EQ(mkfifo(model().c_str(), 0600), 0);
    std::signal(SIGPIPE, SIG_IGN);
    std::atomic<bool> done{false};
    std::thread writer([&] {
        const auto pause = [] { std::this_thread::sleep_for(std::chrono::milliseconds(5)); };
        const std::string files[] = {bytesOf(constantLayers(0.25f, 0.0f, 0.0f)),
                                     bytesOf(constantLayers(0.5f, 0.0f, 0.0f))};
        for (int i = 0; !done; pause()) {
            const int pipe = open(model().c_str(), O_WRONLY | O_NONBLOCK);
            if (pipe < 0) continue;  // nobody reads yet
            fcntl(pipe, F_SETFL, 0);
            const std::string& file = files[i++ % 2];
            ssize_t put = 1;
            for (std::size_t at = 0; at < file.size() && put > 0; at += static_cast<std::size_t>(put))
                put = write(pipe, file.data() + at, file.size() - at);
            close(pipe);
        }
    });
    for (int i = 0; i < 4; ++i) {
        CTessel engine;
        engine.configure(24000, 0, 120, model().c_str());
        const float weight = engine.encoder->initialW[0];
        EXPECT_TRUE(weight == 0.25f || weight == 0.5f) << weight;
        for (int l = 0; l < 3; ++l)
            for (const float* set : {engine.encoder->layers[l].resTanhW, engine.encoder->layers[l].resSigmoidW,
                                     engine.encoder->layers[l].skipW})
                EXPECT_EQ(*set, weight) << "layer " << l;
        for (const float* set : {engine.encoder->skipBias, engine.out1Weights, engine.out2Weights})
            EXPECT_EQ(*set, weight);
    }
    done = true;
    writer.join();
}

#endif

}  // namespace
}  // namespace KaTessel::tests
