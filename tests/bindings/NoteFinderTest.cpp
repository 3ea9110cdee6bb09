// Notes out of tracks that are written down here.
#include "NoteFinder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

constexpr double kPi = 3.14159265358979323846;

// Frames one behind the other; cents above 440 Hz.
class Line {
public:
    Line& hold(int frames, double cents) {
        return wave(frames, cents, 0.0, 1.0);
    }
    Line& wave(int frames, double cents, double depth, double framesPerTurn) {
        for (int i = 0; i < frames; ++i)
            m_frames.push_back(static_cast<float>(440.0 * std::exp2((cents + depth * std::sin(2 * kPi * i / framesPerTurn)) / 1200.0)));
        return *this;
    }
    Line& pause(int frames) {
        m_frames.insert(m_frames.end(), static_cast<std::size_t>(frames), 0.0f);
        return *this;
    }
    std::vector<Note> notes() const {
        NoteFinder finder;
        std::vector<Note> all;
        for (std::size_t i = 0; i < m_frames.size(); ++i)
            if (const auto note = finder.add(static_cast<double>(i) / 200.0, m_frames[i])) all.push_back(*note);
        if (const auto note = finder.finish()) all.push_back(*note);
        return all;
    }

private:
    std::vector<float> m_frames;
};

void expectNotes(const Line& line, const std::vector<Note>& expected) {
    const std::vector<Note> notes = line.notes();
    ASSERT_EQ(notes.size(), expected.size());
    for (std::size_t i = 0; i < notes.size(); ++i) {
        EXPECT_NEAR(notes[i].start, expected[i].start, 1e-6) << i;
        EXPECT_NEAR(notes[i].duration, expected[i].duration, 1e-6) << i;
        EXPECT_NEAR(1200.0 * std::log2(notes[i].frequency / expected[i].frequency), 0.0, 12.0) << i;
    }
}

float hertz(double cents) { return static_cast<float>(440.0 * std::exp2(cents / 1200.0)); }

TEST(NoteFinder, ANewNoteBeginsWithItsFirstFrame) {
    expectNotes(Line().hold(40, 0).hold(60, 100), {{0.0, 0.2, 440.0f}, {0.2, 0.3, hertz(100)}});
    expectNotes(Line().pause(10).hold(40, -1200).pause(30).hold(40, -1200).pause(9),
                {{0.05, 0.2, 220.0f}, {0.4, 0.2, 220.0f}});
}

TEST(NoteFinder, AVibratoIsOneNoteAndADriftToo) {
    expectNotes(Line().wave(210, 300, 100, 35), {{0.0, 1.05, hertz(300)}});  // a semitone each way, 5.7 Hz
    Line drift;
    for (int i = 0; i < 400; ++i) drift.hold(1, 0.5 * i);
    EXPECT_EQ(drift.notes().size(), 1u);
}

TEST(NoteFinder, GapsOf20MsAreBridgedAndShortSoundsAreNoNotes) {
    expectNotes(Line().hold(30, 0).pause(4).hold(30, 0), {{0.0, 0.32, 440.0f}});
    expectNotes(Line().hold(30, 0).pause(5).hold(30, 0), {{0.0, 0.15, 440.0f}, {0.175, 0.15, 440.0f}});
    expectNotes(Line().hold(11, 0).pause(20).hold(12, 0), {{0.155, 0.06, 440.0f}});
    // A slip of an octave for less than 100 ms.
    expectNotes(Line().hold(30, 0).hold(19, 1200).hold(30, 0), {{0.0, 0.395, 440.0f}});
}

}  // namespace
