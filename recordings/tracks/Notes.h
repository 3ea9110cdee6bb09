// Notes of equal temperament, A4 at 440 Hz: their names, and how a pitch track becomes a row of them.
//
// Every row is given to silence or to one MIDI note, so that the sum of these costs is least:
//
//   a voiced row in a note       its distance from the note [semitones], at most 1
//   a voiced row in silence      1
//   an unvoiced row in a note    1
//   from silence to a note       4, and as much back
//   from one note to another     8
//
// One row is 5 ms. So a note lasts at least 40 ms, or 80 ms where the one before goes on after it; a gap of up to 40 ms
// does not end a note; vibrato stays one note; and short jumps, by octaves or whatever else, do not matter.
#pragma once

#include <string>
#include <vector>

#include "recordings/tracks/PitchTrack.h"

namespace katessel {

struct Note {
    double start = 0.0, end = 0.0;  // [s]
    int number = 0;                 // MIDI, 69 at 440 Hz
};

// The notes of a track that comes row by row, each once nothing can change it any more: after a gap that no note outlasts.
// Keeps the rows since the gap before. Knows nothing but tracks, so that files and plug-ins find the same notes.
class NoteFinder {
public:
    // The next row. Returns the notes that it has made sure, in their order; mostly none.
    std::vector<Note> add(const PitchRow& row);

    // The notes that were still open where the sound ends, at `end` [s]. The finder is then as new.
    std::vector<Note> finish(double end);

private:
    PitchTrack m_rows;
    int m_gap = 0;  // unvoiced rows at the end of m_rows
};

// All of them at once; `end` [s] is that of the recording.
std::vector<Note> findNotes(const PitchTrack& track, double end);

// "A4" for 69, "C#-1" for 1.
std::string noteName(int number);

// [Hz] 440 for 69.
double noteFrequency(int number);

}  // namespace katessel
