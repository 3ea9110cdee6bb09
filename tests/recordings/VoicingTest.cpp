// Which rows of a pitch track count as voiced.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "recordings/tracks/PitchTrack.h"

using namespace katessel;

namespace {

// One character a row: '#' voiced.
std::string decide(const std::vector<float>& confidences, VoicingRule rule) {
    PitchTrack track;
    for (const float confidence : confidences) track.push_back({0.0, 200.0f, confidence});
    std::string text;
    for (const bool voiced : voicedRows(track, rule)) text += voiced ? '#' : '.';
    return text;
}

TEST(Voicing, HysteresisBeginsAboveTheThresholdAndEndsBelow) {
    const std::vector<float> rows = {0.75f, 0.69f, 0.81f, 0.69f, 0.61f, 0.75f, 0.59f, 0.75f};
    EXPECT_EQ(decide(rows, {0.7, Voicing::frame}), "#.#..#.#");
    EXPECT_EQ(decide(rows, {0.7, Voicing::hysteresis}), "..####..");
}

TEST(Voicing, SmoothPassesOverSingleRowsWhereverTheyAre) {
    EXPECT_EQ(decide({0.9f, 0.1f, 0.1f, 0.9f, 0.1f, 0.9f, 0.9f, 0.2f, 0.9f}, {0.7, Voicing::smooth}), "#...#####");
    EXPECT_EQ(decide({0.9f}, {0.7, Voicing::smooth}), "#");
    EXPECT_EQ(decide({}, {0.7, Voicing::smooth}), "");
}

// Thresholds at the ends mean what they say, whatever the rule.
TEST(Voicing, TheMarginShrinksTowardsTheEnds) {
    for (const Voicing voicing : {Voicing::frame, Voicing::hysteresis, Voicing::smooth}) {
        EXPECT_EQ(decide({0.0f, 0.0f, 1.0f}, {0.0, voicing}), "###");
        EXPECT_EQ(decide({0.99f, 0.99f, 1.0f, 1.0f}, {1.0, voicing}), "..##");
        EXPECT_EQ(decide({1.0f, 1.0f}, {1.5, voicing}), "..");
    }
}

TEST(Voicing, ARowWithoutPitchIsNotVoiced) {
    PitchTrack track = {{0.0, 200.0f, 1.0f}, {0.005, 0.0f, 1.0f}, {0.01, 201.0f, 0.1f}};
    applyVoicing(track, {0.7, Voicing::hysteresis});
    EXPECT_EQ(track[0].frequency, 200.0f);
    EXPECT_EQ(track[1].frequency, 0.0f);
    EXPECT_EQ(track[2].frequency, 0.0f);
}

}  // namespace
