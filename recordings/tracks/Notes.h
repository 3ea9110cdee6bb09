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
//
// Every row is decided from the cheapest path through all rows up to some later one. What comes after that cannot change
// it any more, so that a stream and a whole recording have the same notes.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "recordings/tracks/PitchTrack.h"

namespace katessel {

struct Note {
    double start = 0.0, end = 0.0;  // [s]
    int number = 0;                 // MIDI, 69 at 440 Hz
};

struct NotedRow {
    PitchRow row;
    int note = 0;  // MIDI; NoteDecoder::kNone: silence
};

// The note of every row, some rows later. Allocates nothing: fit for an audio thread.
class NoteDecoder {
public:
    static constexpr int kNone = -1;
    static constexpr int kMostLag =
        200;  // [rows] 1 s: of 3000 notes of speech and singing, 2 are others than without end

    // Rows are decided `lag` rows later, 1 to kMostLag. The fewer, the sooner notes come, and the more of them are too short.
    explicit NoteDecoder(int lag);

    // Takes the next row and returns the one that it decides, `lag` rows before; none at the beginning.
    std::optional<NotedRow> add(const PitchRow& row);

    // After the last row: decides the next of those that wait; none when none is left, and the decoder is as new.
    std::optional<NotedRow> finish();

private:
    static constexpr int kNotes = 128;  // MIDI
    static constexpr int kSilence = kNotes;

    // Where a path is, and the row at which it came there.
    struct Stay {
        int state = kSilence;  // a note, or kSilence
        std::int64_t since = 0;
    };
    // What a row knows of the paths that moved in it: all that came to a note came from the same place.
    struct Moves {
        Stay beforeNotes, beforeSilence;
    };

    Stay extend(float frequency);
    float costOf(Stay stay) const { return m_cost[static_cast<std::size_t>(stay.state)]; }
    Stay bestNote() const;
    Stay best() const;
    int stateAt(std::int64_t row, Stay stay) const;
    void keepOnly(int state, std::int64_t row);
    NotedRow decided(int state);

    int m_lag;
    std::array<float, kNotes + 1> m_cost;          // of the cheapest path to each state
    std::array<std::int64_t, kNotes + 1> m_since;  // row at which this path came there
    std::array<Moves, kMostLag + 1> m_moves;       // of the newest rows, as a ring
    std::array<PitchRow, kMostLag + 1> m_rows;     // the same rows
    std::int64_t m_taken = 0, m_decided = 0;       // rows
    std::optional<Stay> m_last;                    // where all ends, while finish() hands out the rest
};

// The notes of a track that comes row by row, each once its end is decided. Knows nothing but tracks, so that files and
// plug-ins find the same notes.
class NoteFinder {
public:
    // The next row. Returns the note that it has ended, if any.
    std::optional<Note> add(const PitchRow& row);

    // The notes that were not ended where the sound ends, at `end` [s]. The finder is then as new.
    std::vector<Note> finish(double end);

private:
    std::optional<Note> take(const NotedRow& decided);

    NoteDecoder m_decoder{NoteDecoder::kMostLag};
    std::optional<Note> m_open;  // that sounds; its end is not known
};

// All of them at once; `end` [s] is that of the recording.
std::vector<Note> findNotes(const PitchTrack& track, double end);

// "A4" for 69, "C#-1" for 1.
std::string noteName(int number);

// [Hz] 440 for 69.
double noteFrequency(int number);

}  // namespace katessel
