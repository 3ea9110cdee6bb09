// The C++ class: the same values for every way of passing a sound, the right instants at every rate, and clear refusals.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "Sounds.h"
#include "katessel/Tracker.hpp"
#include "support/AllocationCounter.h"
#include "support/Random.h"
#include "support/TemporaryFolder.h"

namespace KaTessel::tests {
namespace {

const std::string kModel = KATESSEL_MODEL_FILE;

struct Collector {
    std::vector<Pitch> rows;
    void operator()(const Pitch& pitch) { rows.push_back(pitch); }
};

// All of a sound as a live one, in blocks whose sizes `next` gives.
std::vector<Pitch> live(Tracker& tracker, const std::vector<float>& sound, const std::function<int()>& next) {
    Collector collect;
    for (std::size_t at = 0; at < sound.size();) {
        const std::size_t count = std::min(static_cast<std::size_t>(next()), sound.size() - at);
        tracker.process(sound.data() + at, count, collect);
        at += count;
    }
    tracker.finish(collect);
    return collect.rows;
}

std::vector<Pitch> live(int rate, const std::vector<float>& sound) {
    Tracker tracker(rate, kModel);
    return live(tracker, sound, [&] { return static_cast<int>(sound.size()); });
}

std::vector<Pitch> whole(int rate, const std::vector<float>& sound) {
    const PitchTrack track = Tracker(rate, kModel).analyse(sound);
    std::vector<Pitch> rows;
    for (std::size_t i = 0; i < track.size(); ++i) rows.push_back(track[i]);
    return rows;
}

bool same(const std::vector<Pitch>& a, const std::vector<Pitch>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const Pitch& x, const Pitch& y) {
        return x.time == y.time && x.frequency == y.frequency && x.confidence == y.confidence;
    });
}

// What a refusal says.
std::string refusal(const std::function<void()>& action) {
    try {
        action();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "nothing was refused";
}

std::string contentOf(const std::string& path) {
    std::ifstream in(pathOf(path), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

void save(const std::string& path, const std::string& content) {
    std::ofstream(pathOf(path), std::ios::binary) << content;
}

TEST(Tracker, BlockSizesDoNotMatter) {
    for (const int rate : {24000, 11025, 44100, 48000}) {
        const std::vector<float> sound = glide(rate, 0.48, 150.0, 300.0);
        const std::vector<Pitch> atOnce = live(rate, sound);
        ASSERT_EQ(atOnce.size(), 96u);
        Tracker tracker(rate, kModel);
        EXPECT_TRUE(same(live(tracker, sound, [] { return 1; }), atOnce)) << rate << " Hz, single samples";
        Random random(static_cast<std::uint64_t>(rate));
        // The tracker is as new after every sound.
        EXPECT_TRUE(same(live(tracker, sound, [&] { return random.integer(0, 1500); }), atOnce)) << rate << " Hz, any";
    }
}

TEST(EngineRate, KeepsTimeAtEveryRate) {
    constexpr double kFrequency = 300.0, kTurn = 2.0 * 3.14159265358979323846;
    Random random(1);
    for (const int rate :
         {8000, 11025, 12345, 16000, 22050, 24000, 32000, 44100, 48000, 57600, 96000, 192000, 240000}) {
        std::vector<float> sound(static_cast<std::size_t>(rate)), converted;
        for (std::size_t i = 0; i < sound.size(); ++i)
            sound[i] = static_cast<float>(std::sin(kTurn * kFrequency * static_cast<double>(i) / rate));
        EngineRate converter(rate);
        for (std::size_t at = 0; at < sound.size();) {
            const std::size_t count =
                std::min<std::size_t>(static_cast<std::size_t>(random.integer(1, 2000)), sound.size() - at);
            converter.convert(sound.data() + at, count, [&](const float* samples, int n) {
                converted.insert(converted.end(), samples, samples + n);
            });
            at += count;
        }
        EXPECT_NEAR(static_cast<double>(converted.size()), 24000.0, 1.0) << rate << " Hz";
        std::vector<float> atOnce;
        EngineRate(rate).convert(sound.data(), sound.size(), [&](const float* samples, int n) {
            atOnce.insert(atOnce.end(), samples, samples + n);
        });
        EXPECT_EQ(converted, atOnce) << rate << " Hz";
        // A tenth of a sample would be 0.008; the filter's own ripple is less than 0.003.
        double worst = 0.0;
        for (std::size_t i = 200; i < converted.size(); ++i) {
            const double instant = (static_cast<double>(i) - converter.delay()) / 24000.0;
            worst = std::max(worst, std::fabs(converted[i] - std::sin(kTurn * kFrequency * instant)));
        }
        EXPECT_LT(worst, 0.003) << rate << " Hz";
    }
}

// The model itself is late or early by some milliseconds, but not by an engine's latency.
TEST(Tracker, AGlideIsWhereItIs) {
    const std::vector<float> sound = glide(48000, 1.0, 120.0, 480.0);
    for (const std::vector<Pitch>& rows : {live(48000, sound), whole(48000, sound)}) {
        const double pitch = std::log2(rows.at(100).frequency / 240.0);
        EXPECT_DOUBLE_EQ(rows[100].time, 0.5);
        EXPECT_NEAR(pitch / 2.0, 0.0, 0.015) << "s";
        EXPECT_GT(rows[100].confidence, 0.75f);
    }
}

TEST(Tracker, LatencyIsExact) {
    for (const int rate : {1000, 8000, 12345, 24000, 44100, 48000, 240000}) {
        Tracker tracker(rate, kModel);
        const std::vector<float> sound = tone(rate, 0.2, 200.0);
        const std::size_t latency = static_cast<std::size_t>(tracker.latency());
        EXPECT_LT(tracker.process(sound.data(), latency - 1).time, 0.0) << rate << " Hz";
        EXPECT_EQ(tracker.process(sound.data() + latency - 1, 1).time, 0.0) << rate << " Hz";
        EXPECT_NEAR(tracker.latency(), 0.0413 * rate + (rate == 24000 ? 0 : 9), 2.0 + 0.0001 * rate);
    }
}

TEST(Tracker, OneRowForEveryInstantInside) {
    for (const int rate : {24000, 44100, 48000}) {
        Tracker tracker(rate, kModel);
        const int hop = rate / 200;  // rounded down: an instant more than hops
        for (const auto& [count, rows] :
             {std::pair(0, 0), {1, 1}, {hop, 1}, {hop + 1, 2}, {rate / 2, 100}, {rate / 2 + 1, 101}}) {
            const std::vector<float> sound(static_cast<std::size_t>(count), 0.1f);
            EXPECT_EQ(tracker.analyse(sound).size(), static_cast<std::size_t>(rows)) << count << " at " << rate;
            EXPECT_EQ(live(tracker, sound, [] { return 64; }).size(), static_cast<std::size_t>(rows))
                << count << " at " << rate;
        }
    }
}

TEST(Tracker, ARecordingDoesNotDisturbALiveSound) {
    const std::vector<float> sound = glide(44100, 0.4, 150.0, 300.0), other = tone(44100, 0.3, 500.0);
    Tracker tracker(44100, kModel);
    Collector collect;
    for (std::size_t at = 0; at < sound.size(); at += 1000) {
        tracker.process(sound.data() + at, std::min<std::size_t>(1000, sound.size() - at), collect);
        tracker.analyse(other);
    }
    tracker.finish(collect);
    EXPECT_TRUE(same(collect.rows, live(44100, sound)));
}

TEST(Tracker, MovesWithItsSound) {
    const std::vector<float> sound = tone(48000, 0.3, 220.0);
    Tracker first(48000, kModel);
    Collector collect;
    first.process(sound.data(), 7000, collect);
    Tracker second(std::move(first));
    second.process(sound.data() + 7000, sound.size() - 7000, collect);
    second.finish(collect);
    EXPECT_TRUE(same(collect.rows, live(48000, sound)));
    EXPECT_EQ(refusal([&] { first.process(sound); }), "bad tracker: expected one that was not moved from");
    EXPECT_EQ(refusal([&] { first.analyse(sound); }), "bad tracker: expected one that was not moved from");
    EXPECT_EQ(refusal([&] { first.finish(collect); }), "bad tracker: expected one that was not moved from");
    first = std::move(second);
    EXPECT_EQ(live(first, sound, [] { return 480; }).size(), 60u);
}

// After its construction a tracker needs no file: not one that is cut short, nor one that is gone.
TEST(Tracker, StartsAgainWithoutTheFile) {
    const TemporaryFolder folder;
    const std::string model = folder.file("own.weights"), weights = contentOf(kModel);
    for (const int rate : {24000, 44100}) {
        const std::vector<float> sound = glide(rate, 0.3, 150.0, 300.0), other = tone(rate, 0.2, 400.0);
        const std::vector<Pitch> expected = live(rate, sound);
        save(model, weights);
        Tracker own(rate, model);
        save(model, weights.substr(0, weights.size() / 2));
        own.process(other);
        std::filesystem::remove(pathOf(model));
        const AllocationCounter counter;
        own.reset();
        EXPECT_EQ(counter.allocations() + counter.releases(), 0);
        for (int pass = 0; pass < 2; ++pass)  // live() ends with finish()
            EXPECT_TRUE(same(live(own, sound, [] { return 480; }), expected)) << rate << " Hz";
    }
}

TEST(Tracker, AllocatesNothingWhileItStreams) {
    for (const int rate : {24000, 44100}) {
        Tracker tracker(rate, kModel);
        const std::vector<float> sound = tone(rate, 1.0, 220.0);
        tracker.process(sound.data(), sound.size() / 2);
        long frames = 0;
        const AllocationCounter counter;
        tracker.process(sound.data() + sound.size() / 2, sound.size() / 2, [&](const Pitch&) { ++frames; });
        EXPECT_EQ(frames, 100) << rate;
        EXPECT_EQ(counter.allocations(), 0) << rate;
    }
}

TEST(Tracker, RefusesRatesAndSamples) {
    for (const int rate : {-48000, 0, 48, 999, 240001})
        EXPECT_EQ(refusal([&] { Tracker(rate, kModel); }),
                  "bad rate: expected 1000 to 240000 Hz, found " + std::to_string(rate));
    Tracker tracker(48000, kModel);
    const std::vector<float> sound = tone(48000, 0.3, 220.0);
    Collector collect;
    tracker.process(sound.data(), 6000, collect);
    for (const float bad : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), -2e6f}) {
        std::vector<float> block(100, 0.5f);
        block[77] = bad;
        EXPECT_NE(refusal([&] { tracker.process(block, collect); }).find("at place 77"), std::string::npos) << bad;
        EXPECT_NE(refusal([&] { tracker.analyse(block); }).find("at place 77"), std::string::npos) << bad;
    }
    EXPECT_EQ(refusal([&] { tracker.process(nullptr, 3); }), "bad samples: expected 3, found a null pointer");
    // Nothing of the refused blocks was taken.
    tracker.process(sound.data() + 6000, sound.size() - 6000, collect);
    tracker.finish(collect);
    EXPECT_TRUE(same(collect.rows, live(48000, sound)));
}

TEST(Tracker, RefusesModelsBeforeTheEngineSeesThem) {
    const TemporaryFolder folder;
    const std::string broken = folder.file("broken.weights"), good = contentOf(kModel);
    const auto says = [&](const std::string& path) { return refusal([&] { Tracker(48000, path); }); };
    EXPECT_EQ(says("none.weights"),
              "bad model: none.weights: expected a layer weight file, found one that cannot be opened: No such file or "
              "directory");
    save(broken, good.substr(0, 300000));
    EXPECT_NE(says(broken).find("expected a layer weight file, found one that "), std::string::npos);

    // The same file with a few bytes changed: a name, a dimension of the last layer, a value.
    std::string changed = good;
    changed.replace(changed.find("ENCODER_l1_skip"), 15, "encoder_l1_skip");
    save(broken, changed);
    EXPECT_NE(says(broken).find("expected layer ENCODER_l1_skip, found none of that name"), std::string::npos);
    changed = good;
    const std::size_t shape = changed.find(std::string("\x78\0\0\0\x02\0\0\0", 8), changed.find("enc_out2"));
    ASSERT_NE(shape, std::string::npos);
    changed[shape] = 60, changed[shape + 4] = 4;
    save(broken, changed);
    EXPECT_NE(says(broken).find("expected layer enc_out2 with weights [120,2], found "), std::string::npos);
    changed = good;
    changed.replace(shape + 8, 4, std::string("\0\0\xc0\x7f", 4));
    save(broken, changed);
    EXPECT_NE(says(broken).find("expected layer enc_out2 with finite values, found nan"), std::string::npos);
}

void setModel(const std::string& path) {
#ifdef _WIN32
    _putenv_s("KATESSEL_MODEL", path.c_str());
#else
    setenv("KATESSEL_MODEL", path.c_str(), 1);
#endif
}

TEST(Tracker, FindsTheDefaultModel) {
    setModel(kModel);
    EXPECT_EQ(Tracker(48000).model(), kModel);
    setModel("");
    // As in an installation.
    const Tracker tracker(48000);
    for (const Form form : {Form::live, Form::offline})
        EXPECT_EQ(pathOf(tracker.model(form)).parent_path().filename(), "katessel");
}

// Live sound and recordings may have a model each; the second is asked for by the first recording.
TEST(Tracker, AModelPerForm) {
    const TemporaryFolder folder;
    const std::string other = folder.file("other.weights");
    std::string weights = contentOf(kModel);
    const std::size_t bias = weights.rfind(std::string("\x02\0\0\0", 4)) + 4;  // of the last layer: pitch, voicing
    weights.replace(bias, 4, std::string("\0\0\0\x3f", 4));
    save(other, weights);
    const std::vector<float> sound = tone(24000, 0.2, 220.0);
    const PitchTrack expected = Tracker(24000, other).analyse(sound);
    ASSERT_NE(expected.frequencies, Tracker(24000, kModel).analyse(sound).frequencies);
    Tracker tracker(24000, kModel, other);
    EXPECT_EQ(tracker.analyse(sound).frequencies, expected.frequencies);
    EXPECT_TRUE(same(live(tracker, sound, [] { return 480; }), live(24000, sound)));
    Tracker without(24000, kModel, "none.weights");
    EXPECT_NE(refusal([&] { without.analyse(sound); }).find("none.weights"), std::string::npos);
    for (const float confidence : expected.confidences) EXPECT_LE(confidence, 1.0f);
    // One from memory is for both.
    Tracker memory(24000, weights.data(), weights.size());
    weights[bias + 3] = 0;  // not read any more
    EXPECT_EQ(memory.analyse(sound).frequencies, expected.frequencies);
    EXPECT_FALSE(same(live(memory, sound, [] { return 480; }), live(24000, sound)));
    EXPECT_NE(refusal([&] { Tracker(24000, weights.data(), 1000); }).find("bad model: in memory: "), std::string::npos);
}

TEST(Tracker, TakesWhateverHoldsFloats) {
    Tracker tracker(24000, kModel);
    const std::vector<float> sound = tone(24000, 0.1, 200.0);
    float plain[240];
    std::array<float, 240> array;
    std::copy_n(sound.begin(), 240, plain);
    std::copy_n(sound.begin(), 240, array.begin());
    const PitchTrack expected = tracker.analyse(sound.data(), 240);
    EXPECT_EQ(tracker.analyse(plain).frequencies, expected.frequencies);
    EXPECT_EQ(tracker.analyse(array).frequencies, expected.frequencies);
    EXPECT_LT(tracker.process(plain, 240).time, 0.0);
    EXPECT_LT(tracker.process(array).time, 0.0);
    EXPECT_EQ(tracker.process(sound).time, (2400 + 480 - 992) / 120 * 0.005);
}

}  // namespace
}  // namespace KaTessel::tests
