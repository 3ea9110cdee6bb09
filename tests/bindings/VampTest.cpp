// The plug-in as a host loads it: every block and step gives what the C++ class gives, at the same instants.
#include <gtest/gtest.h>
#include <vamp-hostsdk/PluginLoader.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Sounds.h"
#include "katessel/Tracker.hpp"
#include "katessel/Voicing.hpp"
#include "support/TemporaryFolder.h"

namespace KaTessel::tests {
namespace {

using Features = std::map<int, Vamp::Plugin::FeatureList>;
using PluginPointer = std::unique_ptr<Vamp::Plugin>;

enum Output { kFrequency, kConfidence, kNotes };

const bool kReady =
    setenv("VAMP_PATH", KATESSEL_VAMP_FOLDER, 1) == 0 && setenv("KATESSEL_MODEL", KATESSEL_MODEL_FILE, 1) == 0;

PluginPointer load(int rate) {
    EXPECT_TRUE(kReady);
    using Loader = Vamp::HostExt::PluginLoader;
    return PluginPointer(Loader::getInstance()->loadPlugin("katessel:pitch", static_cast<float>(rate)));
}

void append(Features& all, const Features& some) {
    for (const auto& [output, list] : some) all[output].insert(all[output].end(), list.begin(), list.end());
}

// As hosts run a plug-in: blocks at every step until one reaches the end, zeros behind it.
Features run(Vamp::Plugin& plugin, const std::vector<float>& sound, int rate, std::size_t step, std::size_t block,
             Vamp::RealTime origin = {}) {
    Features all;
    std::vector<float> buffer(block);
    bool ended = false;
    for (std::size_t at = 0; !ended; at += step) {
        ended = at + std::max(step, block) >= sound.size();
        std::fill(buffer.begin(), buffer.end(), 0.0f);
        std::copy_n(sound.begin() + static_cast<std::ptrdiff_t>(at), std::min(block, sound.size() - at),
                    buffer.begin());
        const float* const channels[] = {buffer.data()};
        const Vamp::RealTime when = Vamp::RealTime::frame2RealTime(static_cast<long>(at), static_cast<unsigned>(rate));
        append(all, plugin.process(channels, origin + when));
    }
    append(all, plugin.getRemainingFeatures());
    return all;
}

double seconds(const Vamp::RealTime& time) { return time.sec + 1e-9 * time.nsec; }

std::vector<Pitch> expectedRows(int rate, const std::vector<float>& sound) {
    std::vector<Pitch> rows;
    Tracker tracker(rate);
    const auto collect = [&](const Pitch& pitch) { rows.push_back(pitch); };
    tracker.process(sound, collect);
    tracker.finish(collect);
    return rows;
}

// Behind the sound's end the host's zeros follow, so that only what lies 50 ms before it must be the same. Voicing is as
// `katessel track --mode live` decides it.
void expectSame(Features& features, const std::vector<Pitch>& rows, float threshold, double origin) {
    ASSERT_GE(features[kConfidence].size(), rows.size());
    auto frequency = features[kFrequency].begin();
    VoicingFilter<Pitch> voicing({threshold, Voicing::hysteresis});
    for (std::size_t i = 0; i + 10 < rows.size(); ++i) {
        const Vamp::Plugin::Feature& confidence = features[kConfidence][i];
        ASSERT_NEAR(seconds(confidence.timestamp), origin + rows[i].time, 1e-8);
        ASSERT_EQ(confidence.values.at(0), rows[i].confidence) << i;
        bool isVoiced = false;
        voicing.add(rows[i], rows[i].confidence, [&](const Pitch&, bool voiced) { isVoiced = voiced; });
        if (!isVoiced) continue;
        ASSERT_NE(frequency, features[kFrequency].end());
        ASSERT_NEAR(seconds(frequency->timestamp), origin + rows[i].time, 1e-8);
        ASSERT_EQ(frequency->values.at(0), rows[i].frequency) << i;
        ++frequency;
    }
}

TEST(Vamp, AnyRateBlockAndStepGiveWhatTheTrackerGives) {
    for (const int rate : {8000, 11025, 16000, 22050, 24000, 32000, 44100, 48000, 96000}) {
        const std::vector<float> sound = glide(rate, 0.6, 150.0, 400.0);
        const std::vector<Pitch> rows = expectedRows(rate, sound);
        const std::size_t sizes[][2] = {{1024, 1024}, {512, 1024}, {7, 64},       {240, 240},
                                        {331, 331},   {100, 8192}, {60000, 60000}};
        for (const auto& [step, block] : sizes) {
            SCOPED_TRACE(std::to_string(rate) + " Hz, " + std::to_string(step) + " of " + std::to_string(block));
            const PluginPointer plugin = load(rate);
            ASSERT_NE(plugin, nullptr);
            const float threshold = plugin->getParameter("threshold");
            ASSERT_TRUE(plugin->initialise(1, step, block));
            Features features = run(*plugin, sound, rate, step, block);
            expectSame(features, rows, threshold, 0.0);
            // Once more with the same plug-in, after the beginning of another sound and from the middle of a longer one.
            const std::vector<float> other(block, 0.3f);
            const float* const channels[] = {other.data()};
            plugin->process(channels, {});
            plugin->reset();
            features = run(*plugin, sound, rate, step, block, Vamp::RealTime(7, 250000000));
            expectSame(features, rows, threshold, 7.25);
        }
    }
}

TEST(Vamp, AGapBetweenBlocksIsSilence) {
    std::vector<float> sound = tone(48000, 0.6, 200.0);
    const PluginPointer plugin = load(48000);
    ASSERT_TRUE(plugin->initialise(1, 3000, 2000));
    Features features = run(*plugin, sound, 48000, 3000, 2000);
    for (std::size_t i = 0; i < sound.size(); ++i)
        if (i % 3000 >= 2000) sound[i] = 0.0f;
    expectSame(features, expectedRows(48000, sound), plugin->getParameter("threshold"), 0.0);
}

TEST(Vamp, TheThresholdDecidesWhatIsVoiced) {
    const std::vector<float> sound = glide(48000, 0.6, 150.0, 400.0);
    const std::vector<Pitch> rows = expectedRows(48000, sound);
    for (const float threshold : {0.0f, 0.9f, 1.0f}) {
        const PluginPointer plugin = load(48000);
        plugin->setParameter("threshold", threshold);
        ASSERT_EQ(plugin->getParameter("threshold"), threshold);
        ASSERT_TRUE(plugin->initialise(1, 480, 480));
        Features features = run(*plugin, sound, 48000, 480, 480);
        expectSame(features, rows, threshold, 0.0);
    }
}

TEST(Vamp, NotesHaveTheirPlaceAndName) {
    std::vector<float> sound(4800, 0.0f);
    for (const double frequency : {220.0, 246.94, 261.63}) {
        const std::vector<float> note = tone(48000, 0.4, frequency);
        sound.insert(sound.end(), note.begin(), note.end());
    }
    sound.insert(sound.end(), 9600, 0.0f);
    const PluginPointer plugin = load(48000);
    ASSERT_TRUE(plugin->initialise(1, 1024, 1024));
    Features features = run(*plugin, sound, 48000, 1024, 1024);
    ASSERT_EQ(features[kNotes].size(), 3u);
    for (std::size_t i = 0; i < 3; ++i) {
        const Vamp::Plugin::Feature& note = features[kNotes][i];
        EXPECT_EQ(note.label, (std::vector<std::string>{"A3", "B3", "C4"}[i]));
        EXPECT_NEAR(seconds(note.timestamp), 0.1 + 0.4 * static_cast<double>(i), 0.035);
        EXPECT_TRUE(note.hasDuration);
        EXPECT_NEAR(seconds(note.duration), 0.4, 0.06);
    }
}

TEST(Vamp, RefusesAndGoesOn) {
    EXPECT_FALSE(load(48000)->initialise(2, 1024, 1024));
    EXPECT_FALSE(load(500)->initialise(1, 1024, 1024));
    setenv("KATESSEL_MODEL", "/no/such/model", 1);
    EXPECT_FALSE(load(48000)->initialise(1, 1024, 1024));
    setenv("KATESSEL_MODEL", KATESSEL_MODEL_FILE, 1);

    // A block that holds something else than numbers counts as silence.
    std::vector<float> sound = tone(48000, 0.6, 200.0), silenced = sound;
    sound[10 * 1024 + 3] = std::numeric_limits<float>::quiet_NaN();
    std::fill_n(silenced.begin() + 10 * 1024, 1024, 0.0f);
    const PluginPointer plugin = load(48000);
    ASSERT_TRUE(plugin->initialise(1, 1024, 1024));
    Features features = run(*plugin, sound, 48000, 1024, 1024);
    expectSame(features, expectedRows(48000, silenced), plugin->getParameter("threshold"), 0.0);
}

// A model of one's own with its card, removed once the plug-in is ready: hosts reset and go on for hours.
TEST(Vamp, NeedsTheModelOnlyToBegin) {
    const TemporaryFolder folder;
    const std::string model = folder.file("own.weights");
    std::filesystem::copy_file(KATESSEL_MODEL_FILE, model);
    std::ofstream(folder.file("own.json")) << R"({"default_threshold": 0.25})";
    const std::vector<float> sound = glide(48000, 0.6, 150.0, 400.0);
    const std::vector<Pitch> rows = expectedRows(48000, sound);
    setenv("KATESSEL_MODEL", model.c_str(), 1);
    const PluginPointer plugin = load(48000);
    EXPECT_EQ(plugin->getParameter("threshold"), 0.25f);
    EXPECT_EQ(plugin->getParameterDescriptors().at(0).defaultValue, 0.25f);
    ASSERT_TRUE(plugin->initialise(1, 480, 480));
    std::filesystem::remove(model);
    for (int pass = 0; pass < 2; ++pass) {
        Features features = run(*plugin, sound, 48000, 480, 480);  // ends with getRemainingFeatures
        expectSame(features, rows, 0.25f, 0.0);
        plugin->reset();
    }
    // With another plug-in, as hosts do: the SDK loses the lists of one that is initialised again.
    EXPECT_FALSE(load(48000)->initialise(1, 480, 480));
    setenv("KATESSEL_MODEL", KATESSEL_MODEL_FILE, 1);
}

}  // namespace
}  // namespace KaTessel::tests
