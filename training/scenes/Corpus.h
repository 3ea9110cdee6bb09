// Recordings to train on.
#ifndef KATESSEL_TRAINING_CORPUS_H
#define KATESSEL_TRAINING_CORPUS_H

#include <string>
#include <vector>

#include "Random.h"
#include "Sound.h"

namespace katessel::training {

struct Clip {
    Samples samples;           // at kRate
    std::vector<float> pitch;  // [Hz] of frame i, around sample i * kHop; or kUnvoiced or kUnknown
    float medianPitch = 0.0f;  // [Hz] of the voiced frames; 0: none
};

// Recordings with known pitch, or of noise that has none.
class Corpus {
public:
    // All recordings in and below a folder, of any rate. With `labelled`, those with an .f0 file beside them; otherwise
    // all, as sound without pitch. Fails with one line when there is none.
    Corpus(const std::string& folder, bool labelled);

    const std::vector<Clip>& clips() const { return m_clips; }
    double seconds() const;

    // A clip, drawn in proportion to its length.
    const Clip& draw(Random& random) const;

private:
    std::vector<Clip> m_clips;
    std::vector<double> m_ends;  // [s] running sum of lengths
};

// The part of a clip from sample `start` (which may lie before it) on, played `speed` times as fast: its pitch is
// multiplied by that. Outside the clip there is silence.
LabelledSound excerpt(const Clip& clip, double start, double speed, int frames);

// The same without the truth, and cheaper: for sound that is only heard behind another.
Samples roughExcerpt(const Clip& clip, double start, double speed, int samples);

}  // namespace katessel::training

#endif
