// A short run learns; an interrupted one goes on as if nothing had happened.
#include "Trainer.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

#include "WeightExport.h"
#include "recordings/base/Errors.h"

namespace katessel::training {
namespace {

namespace fs = std::filesystem;

constexpr double kOctaves = 2.187756;  // of the engine's scale

class PlainTrainer : public testing::Test {
protected:
    PlainTrainer() { m_options.out = (m_folder / "run").string(); }
    ~PlainTrainer() override { fs::remove_all(m_folder); }

    const fs::path m_folder = fs::temp_directory_path() / ("trainer" + std::to_string(getpid()));
    TrainingOptions m_options;
};

// Of fresh scenes, offline: the part of voiced frames within a whole tone, and of all pairs of a frame read right, within 50
// cents, and an unvoiced one the part in which the former has the higher confidence.
struct Hearing {
    double pitch, order;
};
Hearing hear(const Network& network, const std::string& folder) {
    const torch::NoGradGuard noGradients;
    const std::string weights = folder + "/hearing.weights";
    exportWeights(network, weights);
    const ExamplePool pool([](int frames, Random& random) { return drawScene({}, frames, random); }, weights, 999, 60,
                           0);
    Random random(5);
    const Batch batch = pool.draw(200, 60, random);
    FormOutput offline;
    network.forward(batch.features, nullptr, &offline);
    const torch::Tensor octaves = (offline.heads.select(1, 0) + 1.0) * kOctaves - kOfflineOffset;
    const torch::Tensor voiced = batch.truth.pitch > 0.0, unvoiced = batch.truth.pitch == 0.0;
    const torch::Tensor error = torch::abs(octaves - torch::log2(batch.truth.pitch.clamp_min(1.0) / 440.0));
    const torch::Tensor near = (error < 1.0 / 6.0) & voiced, right = (error < 1.0 / 24.0) & voiced;
    const torch::Tensor confidence = -offline.heads.select(1, 1);
    const torch::Tensor higher = confidence.index({right}).unsqueeze(1) > confidence.index({unvoiced}).unsqueeze(0);
    return {near.sum().item<double>() / voiced.sum().item<double>(), higher.to(torch::kFloat32).mean().item<double>()};
}

TEST_F(PlainTrainer, ShortRunOnGeneratedSoundLowersTheLossAndHears) {
    m_options.steps = 250;
    m_options.threads = 1;
    m_options.batch = 64;
    m_options.rate = 5e-3;
    m_options.pool = 200;
    m_options.fresh = 1;
    Trainer trainer(m_options, {});
    double first = 0.0, last = 0.0;
    for (int i = 0; i < m_options.steps; ++i) {
        const double loss = trainer.step().total;
        if (i < 10) first += loss / 10;
        if (i >= m_options.steps - 10) last += loss / 10;
    }
    EXPECT_LT(last, 0.65 * first);
    const Hearing hearing = hear(trainer.averaged(), m_options.out);
    EXPECT_GT(hearing.order, 0.72) << "a half is chance";
    EXPECT_GT(hearing.pitch, 0.14) << "an eighth is chance";
}

// White noise of a few frames, said to be 200 Hz: what counts is when.
LabelledSound burst(int frames, Random& random) {
    LabelledSound sound;
    sound.samples.assign(static_cast<std::size_t>(samplesFor(frames)), 0.0f);
    sound.pitch.assign(static_cast<std::size_t>(frames), kUnvoiced);
    for (int first = random.below(20); first + 10 < frames; first += 25) {
        const std::size_t begin = static_cast<std::size_t>(kCentre + first * kHop - kHop / 2);
        for (std::size_t i = begin; i < begin + 10 * kHop; ++i) sound.samples[i] = random.white();
        for (int f = first; f < first + 10; ++f) sound.pitch[static_cast<std::size_t>(f)] = 200.0f;
    }
    return sound;
}

TEST_F(PlainTrainer, TruthStandsBesideTheFramesThatItDescribes) {
    fs::create_directories(m_options.out);
    const std::string weights = m_options.out + "/any.weights";
    exportWeights(Network(1, torch::zeros({kFeatures}), torch::ones({kFeatures})), weights);
    const ExamplePool pool(burst, weights, 11, 20, 0);
    Random random(2);
    constexpr int kStretch = 100;
    const Batch batch = pool.draw(kStretch, 30, random);
    const torch::Tensor voiced = batch.truth.pitch.view({kStretch - kReach, 30}) > 0.0;
    // At 6 kHz, where the windows are short; the levels at which scenes are seen differ by some 6 dB.
    const torch::Tensor level = batch.features.narrow(2, kFeatures - 15, 10).mean(2);
    const torch::Tensor loud = level > std::get<0>(level.max(0, true)) - 10.0 / 70.0;
    const auto agreeing = [&](int shift) {
        return (voiced == loud.narrow(0, shift, kStretch - kReach)).to(torch::kFloat32).mean().item<double>();
    };
    EXPECT_GT(agreeing(kAhead), 0.9);
    for (const int other : {kAhead - 1, kAhead + 1}) EXPECT_LT(agreeing(other), agreeing(kAhead) - 0.02);
}

// Weights that always give the same reading have the same pitch loss, whichever form they are for, on the same scenes: each
// form alone aims at its own scale, and both together at one between.
TEST_F(PlainTrainer, FormsAloneAimAtTheirOwnScales) {
    m_options.threads = 1;
    m_options.batch = 20;
    m_options.pool = 20;
    m_options.fresh = 1;
    m_options.start = (m_folder / "constant.weights").string();
    fs::create_directories(m_folder);
    Network network(1, torch::zeros({kFeatures}), torch::ones({kFeatures}));
    std::vector<double> losses;
    const std::pair<Forms, double> cases[] = {
        {Forms::offline, kOfflineOffset}, {Forms::streaming, kStreamingOffset}, {Forms::both, kJointOffset}};
    for (const auto& [forms, offset] : cases) {
        const torch::NoGradGuard noGradients;
        network.parameters()[parameter::output].zero_();
        network.parameters()[parameter::outputBias][0] = offset / kOctaves - 1.5;
        exportWeights(network, m_options.start);
        m_options.forms = forms;
        const torch::AutoGradMode gradients(true);
        losses.push_back(Trainer(m_options, {}).step().pitch);
    }
    EXPECT_NEAR(losses[1], losses[0], 1e-5 * losses[0]);
    EXPECT_NEAR(losses[2], losses[0], 1e-5 * losses[0]);
}

// Across step 7, from which products are fine, and step 10, where the optimizer turns its axes.
TEST_F(PlainTrainer, InterruptedRunGoesOnExactly) {
    m_options.steps = 14;
    m_options.coarse = 0.5;
    m_options.threads = 2;
    m_options.batch = 4;
    m_options.pool = 6;
    m_options.fresh = 1;
    Trainer whole(m_options, {});
    for (int i = 0; i < 12; ++i) whole.step();
    {
        TrainingOptions other = m_options;
        other.out = (m_folder / "interrupted").string();
        Trainer part(other, {});
        for (int i = 0; i < 5; ++i) part.step();
        part.save();
        part.step();  // lost
    }
    TrainingOptions other = m_options;
    other.out = (m_folder / "interrupted").string();
    Trainer rest(other, {});
    ASSERT_EQ(rest.steps(), 5);
    for (int i = 0; i < 7; ++i) rest.step();
    for (std::size_t i = 0; i < whole.network().parameters().size(); ++i) {
        EXPECT_TRUE(torch::equal(whole.network().parameters()[i], rest.network().parameters()[i]))
            << Network::names()[i];
        EXPECT_TRUE(torch::equal(whole.averaged().parameters()[i], rest.averaged().parameters()[i]))
            << Network::names()[i];
    }
}

// Weights that are no numbers do not replace those from before, and a checkpoint that was changed is not gone on from.
TEST_F(PlainTrainer, BadCheckpointsAreNeitherWrittenNorRead) {
    m_options.threads = 1;
    m_options.batch = 2;
    m_options.pool = 2;
    m_options.fresh = 1;
    m_options.rate = 1e30;
    const fs::path checkpoint = fs::path(m_options.out) / "checkpoint.pt";
    {
        Trainer trainer(m_options, {});
        trainer.save();
        const auto written = fs::last_write_time(checkpoint);
        for (int i = 0; i < 4; ++i) trainer.step();
        EXPECT_THROW(trainer.save(), ToolError);
        EXPECT_EQ(fs::last_write_time(checkpoint), written);
    }
    EXPECT_EQ(Trainer(m_options, {}).steps(), 0);
    std::fstream file(checkpoint, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(static_cast<std::streamoff>(fs::file_size(checkpoint) / 2));
    file.put('\x7f').put('\x11');
    file.close();
    EXPECT_THROW(Trainer(m_options, {}), ToolError);
}

}  // namespace
}  // namespace katessel::training
