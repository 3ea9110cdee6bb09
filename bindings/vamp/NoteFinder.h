// Notes out of a pitch track: stretches that stay on one pitch.
#ifndef KATESSEL_VAMP_NOTEFINDER_H
#define KATESSEL_VAMP_NOTEFINDER_H

#include <optional>
#include <vector>

struct Note {
    double start = 0.0;      // [s]
    double duration = 0.0;   // [s]
    float frequency = 0.0f;  // [Hz] median of its frames
};

// A note goes on while the pitch stays within 80 cents of the median of its last half second. A vibrato may leave that
// for less than 100 ms at a time; a pitch that stays away begins a new note. Up to 20 ms without a pitch are bridged, and
// what is shorter than 60 ms is no note.
class NoteFinder {
public:
    // The next frame, 5 ms after the one before; frequency [Hz], 0 where there is no pitch. Returns the note that it
    // ended, if any.
    std::optional<Note> add(double time, float frequency);

    // The note that the sound's end ends, if any. The finder is then as new.
    std::optional<Note> finish();

private:
    struct Frame {
        double time;
        float cents;  // above 440 Hz
    };

    bool inTune(float cents) const;
    std::optional<Note> close();

    std::vector<Frame> m_frames;  // the note so far
    std::vector<Frame> m_away;    // frames behind it that are on another pitch
    int m_silent = 0;             // frames without a pitch since the last one with
};

#endif
