// Where the rows of a live track go: to the eye, to a file or to another program.
#pragma once

#include <cstdio>
#include <optional>
#include <string>

#include "recordings/base/OutputFile.h"
#include "recordings/tracks/PitchTrack.h"

namespace katessel {

// What notes are called.
struct NoteNaming {
    double a4 = 440.0;      // [Hz]
    int transposition = 0;  // [semitones] that a note is called above the one that sounds
};

// The nearest note of equal temperament, by how many cents the pitch is off, a needle between 50 cents flat and sharp, the
// frequency and the confidence. Always as long; an unvoiced row has neither note nor needle.
std::string displayLine(const PitchRow& row, const NoteNaming& naming = {});

class LiveOutput {
public:
    // The display alone, or a CSV file as well; "-" is the CSV on standard output and no display.
    LiveOutput(const std::optional<std::string>& csv, const NoteNaming& naming);

    void add(const PitchRow& row);

    // Hands over what has come: to standard output at once, to the file once a second. Fails when a reader went away or
    // the disk is full.
    void flush();

    void finish();

    // What is said about the run goes where the track does not.
    std::FILE* remarks() const { return m_streams ? stderr : stdout; }

private:
    void show(const PitchRow& row);

    NoteNaming m_naming;
    std::optional<GrowingFile> m_file;
    bool m_streams, m_isTerminal;
    std::string m_text;        // that was not handed over
    double m_time = 0.0;       // [s] of the last row
    double m_flushed = 0.0;    // [s] of the last row in the file
    double m_nextShown = 0.0;  // [s]
};

}  // namespace katessel
