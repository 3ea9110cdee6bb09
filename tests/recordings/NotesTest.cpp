// Which notes a pitch track is.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "recordings/tracks/Notes.h"

using namespace katessel;

namespace {

constexpr double kUnvoiced = -1.0;

// Rows every 5 ms, added stretch by stretch.
class Track {
public:
    Track& add(double seconds, double note) {
        for (long i = std::lround(seconds / kHopSeconds); i > 0; --i) addRow(note);
        return *this;
    }

    // 60 cents up and down, six times a second.
    Track& addVibrato(double seconds, double note) {
        for (long i = std::lround(seconds / kHopSeconds); i > 0; --i)
            addRow(note + 0.6 * std::sin(37.7 * static_cast<double>(rows.size()) * kHopSeconds));
        return *this;
    }

    PitchTrack rows;

private:
    void addRow(double note) {
        const double hertz = note == kUnvoiced ? 0.0 : 440.0 * std::exp2((note - 69.0) / 12.0);
        rows.push_back({static_cast<double>(rows.size()) * kHopSeconds, static_cast<float>(hertz), 0.9f});
    }
};

// Numbers exactly, instants to a row.
void expectNotes(const Track& track, const std::vector<Note>& expected) {
    const double end = static_cast<double>(track.rows.size()) * kHopSeconds;
    const std::vector<Note> found = findNotes(track.rows, end);
    ASSERT_EQ(found.size(), expected.size());
    for (std::size_t i = 0; i < found.size(); ++i) {
        EXPECT_EQ(found[i].number, expected[i].number) << i;
        EXPECT_NEAR(found[i].start, expected[i].start, 1e-9) << i;
        EXPECT_NEAR(found[i].end, expected[i].end, 1e-9) << i;
    }
}

TEST(Notes, BeginAndEndWithTheirRows) {
    expectNotes(Track().add(0.2, kUnvoiced).add(0.3, 57).add(0.3, 64.2).add(0.2, kUnvoiced).add(0.1, 62.4),
                {{0.2, 0.5, 57}, {0.5, 0.8, 64}, {1.0, 1.1, 62}});
    expectNotes(Track().add(0.5, kUnvoiced), {});
    // The lowest and the highest note there are.
    expectNotes(Track().add(0.2, -0.6).add(0.2, 127.6), {{0.0, 0.2, 0}, {0.2, 0.4, 127}});
}

// A note of less than 40 ms is none, nor one of less than 80 ms inside another; a gap of up to 40 ms ends none.
TEST(Notes, WhatIsTooShortIsNoNote) {
    expectNotes(Track().add(0.2, kUnvoiced).add(0.035, 60).add(0.2, kUnvoiced).add(0.045, 60).add(0.2, kUnvoiced),
                {{0.435, 0.48, 60}});
    expectNotes(Track().add(0.2, 60).add(0.07, 72).add(0.2, 60).add(0.09, 67).add(0.2, 60),
                {{0.0, 0.47, 60}, {0.47, 0.56, 67}, {0.56, 0.76, 60}});
    expectNotes(Track().add(0.2, 60).add(0.04, kUnvoiced).add(0.2, 60), {{0.0, 0.44, 60}});
    expectNotes(Track().add(0.2, kUnvoiced).add(0.035, 60), {});
    expectNotes(Track().add(0.2, 60).add(0.035, kUnvoiced).add(0.2, 60).add(0.045, kUnvoiced).add(0.2, 60),
                {{0.0, 0.435, 60}, {0.48, 0.68, 60}});
}

// Row by row: everything is decided the lag after it, once, and without an end the last note is silence.
TEST(Notes, ComeWithTheLagOfTheirDecoder) {
    const PitchTrack rows =
        Track().add(0.1, kUnvoiced).add(0.1, 57).add(0.1, 64).add(0.045, kUnvoiced).add(0.1, 60).rows;
    for (const int lag : {1, 24, 200}) {
        NoteDecoder decoder(lag);
        std::vector<int> notes;
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const std::optional<NotedRow> decided = decoder.add(rows[i]);
            ASSERT_EQ(decided.has_value(), i >= static_cast<std::size_t>(lag)) << i;
            if (!decided) continue;
            EXPECT_EQ(decided->row.time, rows[notes.size()].time);
            notes.push_back(decided->note);
        }
        while (const std::optional<NotedRow> decided = decoder.finish()) notes.push_back(decided->note);
        ASSERT_EQ(notes.size(), rows.size());
        if (lag < 24) continue;
        for (std::size_t i = 0; i < rows.size(); ++i)
            EXPECT_EQ(notes[i], i < 20 ? -1 : i < 40 ? 57 : i < 60 ? 64 : i < 69 ? -1 : 60) << i << " lag " << lag;
    }
    // What comes once the row is decided cannot change it: 60 ms later the octave seems to be the next note.
    const PitchTrack jump = Track().add(0.2, 60).add(0.07, 72).add(0.2, 60).rows;
    NoteDecoder hasty(12);
    std::vector<int> notes;
    for (const PitchRow& row : jump)
        if (const std::optional<NotedRow> decided = hasty.add(row)) notes.push_back(decided->note);
    EXPECT_EQ(notes.at(40), 72);
    EXPECT_EQ(notes.at(53), 72);
}

TEST(Notes, AVibratoIsOneNote) { expectNotes(Track().addVibrato(1.0, 62), {{0.0, 1.0, 62}}); }

TEST(Notes, Names) {
    const std::pair<int, const char*> names[] = {{69, "A4"}, {60, "C4"}, {61, "C#4"},
                                                 {59, "B3"}, {0, "C-1"}, {127, "G9"}};
    for (const auto& [number, name] : names) EXPECT_EQ(noteName(number), name);
}

}  // namespace
