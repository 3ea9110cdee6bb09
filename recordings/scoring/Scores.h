// How well a track agrees with the truth.
//
// Definitions as in melody extraction: G. Poliner et al., "Melody transcription from music audio", 2007, and C. Raffel et
// al., "mir_eval", 2014 (raw pitch and chroma accuracy, voicing recall and false alarm, overall accuracy); the gross error
// rate as in L. Rabiner et al., "A comparative performance study of several pitch detection algorithms", 1976, at 20 %.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "recordings/tracks/PitchTrack.h"

namespace katessel {

constexpr int kCalibrationBins = 10;

// Counts that add up over recordings, and the figures that follow from them.
class Scores {
public:
    // Adds one recording: truth [Hz, 0 none, -1 not scored] and estimate, both a value every 5 ms from 0; the shorter of
    // the two ends it. The rule says which rows count as reported voiced; the
    // others keep their frequency.
    void add(const std::vector<float>& truth, const PitchTrack& estimate, VoicingRule rule);

    // Adds what another one counted.
    void add(const Scores& other);

    std::int64_t frames() const { return m_frames; }
    std::int64_t voicedFrames() const { return m_voiced; }

    // Of truly voiced frames, the part whose estimated pitch, reported as voiced or not, is within 50, 25 or 10 cents.
    double rawPitchAccuracy(int cents) const;
    double rawChromaAccuracy() const;  // within 50 cents of it in any octave
    double grossErrorRate() const;     // of frames voiced in both, the part more than 20 % off
    double voicingRecall() const;      // of truly voiced frames, the part reported as voiced
    double voicingFalseAlarm() const;  // of frames without pitch, the part reported as voiced
    double precision() const;          // of frames reported as voiced, the part that is voiced and within 50 cents
    double recall() const;             // of truly voiced frames, the part reported and within 50 cents
    double f1() const;                 // harmonic mean of the two
    double overallAccuracy() const;    // of all frames, the part right in voicing and, where voiced, within 50 cents
    double medianCents() const;        // of the distances of frames voiced in both
    double offsetSeconds() const;      // by how much the estimate is late: the shift within 50 ms at which most frames
                                       // agree

    // Frames whose reported confidence, limited to 1, lies in each tenth: how many, their mean confidence, and the part
    // that is voiced and within 50 cents.
    struct CalibrationBin {
        std::int64_t frames = 0;
        double confidence = 0.0, right = 0.0;
    };
    std::array<CalibrationBin, kCalibrationBins> calibration() const;
    double calibrationError() const;  // mean distance of confidence and right part, weighted by frames

private:
    static constexpr int kMaxShift = 10;       // [frames]
    static constexpr int kCentsSteps = 12000;  // histogram of distances: tenths of a cent up to an octave

    std::int64_t m_frames = 0, m_voiced = 0, m_unvoiced = 0;
    std::int64_t m_within[3] = {}, m_chroma = 0;
    std::int64_t m_reported = 0, m_reportedVoiced = 0, m_reportedUnvoiced = 0, m_gross = 0, m_right = 0;
    std::vector<std::int64_t> m_distances;
    std::int64_t m_agreeing[2 * kMaxShift + 1] = {};
    std::int64_t m_calibrationFrames[kCalibrationBins] = {}, m_calibrationRight[kCalibrationBins] = {};
    double m_calibrationSum[kCalibrationBins] = {};
};

}  // namespace katessel
