// Pitch of sound that comes in block by block, with everything that may happen to a stream: the tracker without a server.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <numeric>
#include <thread>

#include "apps/live/BlockRing.h"
#include "apps/live/LiveOutput.h"
#include "apps/live/LiveTracker.h"
#include "recordings/audio/AudioFile.h"
#include "support/AllocationCounter.h"
#include "tracking/Model.h"
#include "tracking/RecordingTracker.h"

using namespace katessel;

namespace {

// Feeds a tracker and keeps its rows.
class Stream {
public:
    explicit Stream(std::uint32_t clock) : m_clock(clock), m_tracker(modelPath("", TrackMode::live)) {}

    // The next samples, in blocks of `size`.
    void feed(const std::vector<float>& sound, int rate, std::size_t size) {
        for (std::size_t at = 0; at < sound.size(); at += size) {
            const auto from = sound.begin() + static_cast<std::ptrdiff_t>(at);
            const auto count = std::min(size, sound.size() - at);
            const LiveBlock block = {m_clock, static_cast<std::uint32_t>(count), rate};
            m_clock += block.count;
            m_tracker.process(block, {from, from + static_cast<std::ptrdiff_t>(count)}, [&](const LiveRow& row) {
                rows.push_back(row);
                arrivals.push_back(m_clock);
            });
        }
    }

    void skip(std::uint32_t samples) { m_clock += samples; }
    const LiveTracker& tracker() const { return m_tracker; }

    std::vector<LiveRow> rows;
    std::vector<std::uint32_t> arrivals;  // [samples] the clock after the block that completed each row

private:
    std::uint32_t m_clock;
    LiveTracker m_tracker;
};

// Six harmonics, from one frequency [Hz] to the other.
std::vector<float> glide(double from, double to, int rate, double seconds) {
    std::vector<float> sound(static_cast<std::size_t>(seconds * rate));
    double phase = 0.0;
    for (std::size_t i = 0; i < sound.size(); ++i) {
        const double fraction = static_cast<double>(i) / static_cast<double>(sound.size());
        phase += 2.0 * std::numbers::pi * from * std::pow(to / from, fraction) / rate;
        double sum = 0.0;
        for (int h = 1; h <= 6; ++h) sum += 0.2 / h * std::sin(h * phase);
        sound[i] = static_cast<float>(sum);
    }
    return sound;
}

std::vector<float> tone(double frequency, int rate, double seconds) {
    return glide(frequency, frequency, rate, seconds);
}

// All rows between two times are about a frequency; there are as many as fit.
void expectPitch(const Stream& stream, double frequency, double from, double to) {
    int count = 0;
    for (const LiveRow& row : stream.rows) {
        if (row.pitch.time < from || row.pitch.time >= to) continue;
        ++count;
        EXPECT_NEAR(row.pitch.frequency, frequency, 0.03 * frequency) << "at " << row.pitch.time << " s";
    }
    EXPECT_NEAR(count, (to - from) / 0.005, 1.5) << "rows from " << from << " to " << to << " s";
}

// Blocks of any size are heard like the recording as a whole: the same values at the same instants. Rates and periods as
// servers have them.
TEST(LiveTracker, blocksOfAnySizeGiveTheTrackOfTheWhole) {
    struct Case {
        int rate;
        std::size_t period;
    };
    for (const Case& c :
         {Case{48000, 64}, {48000, 250}, {48000, 1024}, {44100, 256}, {96000, 128}, {11025, 60}, {24000, 333}}) {
        const Recording recording{c.rate, glide(100.0, 400.0, c.rate, 1.5), ""};
        const PitchTrack whole =
            RecordingTracker(modelPath("", TrackMode::live), TrackMode::live).track(recording, "test sound");
        Stream stream(7);
        stream.feed(recording.samples, c.rate, c.period);
        ASSERT_GT(stream.rows.size(), 280u) << c.rate << " Hz in " << c.period;
        for (std::size_t i = 0; i < stream.rows.size(); ++i) {
            const LiveRow& row = stream.rows[i];
            ASSERT_NEAR(row.pitch.time, whole[i].time, 1e-9) << c.rate << " Hz in " << c.period;
            EXPECT_EQ(row.pitch.confidence, whole[i].confidence) << row.pitch.time;
            EXPECT_EQ(row.pitch.frequency, whole[i].frequency) << row.pitch.time;
        }
    }
}

// By the clock, a row comes no later than its latency and a period after its instant, also across the clock's end, and
// no sooner than the sound is there that it needs: 991 samples at 24 kHz after it, and 9 of the resampler.
TEST(LiveTracker, clockAndLatency) {
    constexpr std::uint32_t kStart = 0xffffffff - 20000;
    struct Case {
        int rate;
        std::size_t period;
    };
    for (const Case& c : {Case{48000, 2}, {48000, 128}, {96000, 1024}, {44100, 147}, {44100, 64}}) {
        Stream stream(kStart);
        stream.feed(tone(200.0, c.rate, 1.0), c.rate, c.period);
        const double needed = 991.0 / 24000 + 9.0 / c.rate, latency = stream.tracker().engineLatency();
        EXPECT_NEAR(latency, needed, 1.5 / c.rate) << c.rate << " in " << c.period;
        double longest = 0.0;
        for (std::size_t i = 0; i < stream.rows.size(); ++i) {
            const LiveRow& row = stream.rows[i];
            EXPECT_NEAR(static_cast<double>(row.clock - kStart), row.pitch.time * c.rate, 0.51);
            const double late = static_cast<double>(stream.arrivals[i] - row.clock) / c.rate;
            EXPECT_GT(late, needed - 1.5 / c.rate);
            longest = std::max(longest, late);
        }
        EXPECT_LE(longest, needed + (static_cast<double>(c.period) + 1.5) / c.rate) << c.rate;
        EXPECT_GE(longest, latency - 1.5 / c.rate);
        expectPitch(stream, 200.0, 0.1, 0.9);
    }
}

TEST(LiveTracker, missingSoundKeepsTimesTrue) {
    Stream stream(0);
    stream.feed(tone(200.0, 48000, 0.5), 48000, 256);
    stream.skip(9600);  // taken as silence
    stream.feed(tone(300.0, 48000, 0.5), 48000, 256);
    stream.skip(3 * 48000);  // the engine starts anew
    stream.feed(tone(250.0, 48000, 0.5), 48000, 256);
    expectPitch(stream, 200.0, 0.05, 0.45);
    expectPitch(stream, 300.0, 0.75, 1.15);
    expectPitch(stream, 250.0, 4.25, 4.65);
    for (const LiveRow& row : stream.rows) {
        if (row.pitch.time > 0.55 && row.pitch.time < 0.65) {
            EXPECT_LT(row.pitch.confidence, 0.3f) << row.pitch.time;
        }
        EXPECT_TRUE(row.pitch.time < 1.2 || row.pitch.time > 4.19) << row.pitch.time;
        EXPECT_NEAR(row.clock, row.pitch.time * 48000, 1.0);
    }
}

// The clock of a late period may be that of the next one.
TEST(LiveTracker, aClockThatStumblesKeepsTimesTrue) {
    Stream stream(0);
    stream.feed(tone(200.0, 48000, 0.5), 48000, 480);
    for (const std::uint32_t stumble : {240u, 0u - 240u, 960u, 0u - 960u}) {
        stream.skip(stumble);
        stream.feed(tone(200.0, 48000, 0.01), 48000, 480);
    }
    stream.feed(tone(300.0, 48000, 0.5), 48000, 480);
    for (std::size_t i = 0; i < stream.rows.size(); ++i) {
        ASSERT_NEAR(stream.rows[i].pitch.time, 0.005 * static_cast<double>(i), 1e-9);
        EXPECT_GT(static_cast<double>(stream.arrivals[i] - stream.rows[i].clock) / 48000, 0.041) << i;
    }
    expectPitch(stream, 200.0, 0.05, 0.45);
    expectPitch(stream, 300.0, 0.6, 0.95);
}

TEST(LiveTracker, anotherRateIsTakenUpAndWhatIsNoNumberIsSilence) {
    Stream stream(0);
    stream.feed({std::nanf("")}, 48000, 1);
    stream.feed(tone(200.0, 48000, 0.5), 48000, 256);
    stream.feed(tone(200.0, 44100, 0.5), 44100, 256);
    stream.feed(tone(200.0, 22050, 0.5), 22050, 512);
    expectPitch(stream, 200.0, 0.05, 0.45);
    expectPitch(stream, 200.0, 0.55, 0.95);
    EXPECT_EQ(stream.rows.back().rate, 22050);
    EXPECT_NEAR(stream.rows.back().pitch.time, 1.455, 0.01);
    EXPECT_NEAR(stream.rows.back().pitch.frequency, 200.0f, 6.0f);
    EXPECT_ANY_THROW(stream.feed({0.0f}, 250000, 1));
}

// Three times what fits, from a thread of its own, is read whole and in order; what finds no room is counted.
TEST(BlockRing, handsOverEverythingOrCountsIt) {
    constexpr std::uint32_t kRound = 1000000, kFits = 1 << 20;
    BlockRing ring;
    std::vector<float> ramp(3 * kRound), samples(2000);
    std::iota(ramp.begin(), ramp.end(), 0.0f);
    std::uint32_t read = 0;
    for (std::uint32_t round = 0; round < 3; ++round) {
        const std::jthread system([&] {
            const KaTessel::tests::AllocationCounter counter;
            for (std::uint32_t at = round * kRound, count = 1; at < (round + 1) * kRound; at += count) {
                count = std::min(count % 997 + 50, (round + 1) * kRound - at);
                ring.push({at, count, 48000}, ramp.data() + at);
            }
            EXPECT_EQ(counter.allocations(), 0);
        });
        // Waiting may end without a block.
        for (int empty = 0; read < (round + 1) * kRound && empty < 10000;) {
            const std::optional<LiveBlock> block = ring.pop(samples, 0.01);
            if (!block) {
                ++empty;
                continue;
            }
            ASSERT_EQ(block->clock, read);
            ASSERT_TRUE(std::equal(samples.begin(), samples.end(), ramp.begin() + read));
            ASSERT_EQ(samples.size(), block->count);
            read += block->count;
        }
    }
    EXPECT_EQ(read, 3 * kRound);
    EXPECT_EQ(ring.dropped(), 0);
    for (std::uint32_t i = 0; i <= kFits / 1024; ++i) ring.push({0, 1024, 48000}, ramp.data());
    EXPECT_EQ(ring.dropped(), 1024);
}

TEST(PlainLiveDisplay, nearestNoteAndNeedle) {
    struct Case {
        float frequency;
        const char* begin;
        std::size_t needle;  // character of the line
        NoteNaming naming = {};
    };
    // The scale is 16 characters in; 20 characters are 50 cents.
    for (const Case& c : {Case{440.0f, "A4    +0 cents", 36},
                          {261.63f, "C4    +0 cents", 36},
                          {450.0f, "A4   +39 cents", 52},
                          {246.0f, "B3    -7 cents", 33},
                          {452.8f, "A4   +50 cents", 56},
                          {27.5f, "A0    +0 cents", 36},
                          {1108.73f, "C#6   -0 cents", 36},
                          {440.0f, "A4    -8 cents", 33, {442.0, 0}},
                          {432.0f, "B4    +0 cents", 36, {432.0, 2}},
                          {261.63f, "D#3   +0 cents", 36, {440.0, -9}}}) {
        const std::string line = displayLine({0.0, c.frequency, 0.9f}, c.naming);
        EXPECT_EQ(line.substr(0, 14), c.begin) << c.frequency;
        EXPECT_EQ(line.find('#', 15), c.needle) << line;
    }
    const std::string unvoiced = displayLine({0.0, 0.0f, 0.2f});
    EXPECT_EQ(unvoiced.find_first_not_of(' '), 15u);
    EXPECT_EQ(unvoiced.find('#'), std::string::npos);
    EXPECT_EQ(unvoiced.size(), displayLine({0.0, 440.0f, 0.9f}).size());
}

}  // namespace
