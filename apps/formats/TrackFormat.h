// The file formats of a track. A new one is a function below, defined beside its like, and a row in the table of
// TrackFormat.cpp.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "recordings/tracks/PitchTrack.h"

namespace katessel {

enum class PitchUnit { hertz, cents, midi };  // cents above 440 Hz; MIDI note numbers with fractions
enum class UnvoicedRows { zero, notANumber, drop };

// What a file may say about a track before its first row is known.
struct TrackHead {
    double start = 0.0;  // [s] of the part that is tracked
    PitchUnit unit = PitchUnit::hertz;
    UnvoicedRows unvoiced = UnvoicedRows::zero;
    std::string recording;   // its path
    int rate = 0;            // [Hz] of the recording
    std::string about;       // library, model and settings as a JSON object
    bool loudness = false;   // a column of its own
    double tempo = 120.0;    // [beats a minute] of a MIDI file
    bool pitchBend = false;  // of a MIDI file: the pitch within notes
};

// And all that it may say at the end.
struct TrackDocument : TrackHead {
    PitchTrack track;
    double end = 0.0;  // [s] of the part that was tracked
};

// Makes the bytes of one track as its rows come.
class TrackWriter {
public:
    virtual ~TrackWriter() = default;

    // The next row. Appends what can be said now.
    virtual void add(const PitchRow& row, std::string& bytes) = 0;

    // All rows have come, up to `end` [s]. Appends the rest.
    virtual void finish(double end, std::string& bytes) = 0;
};

struct TrackFormat {
    const char* name;
    const char* extension;
    std::vector<const char*> synonyms;  // what else it is called, as a name or an extension
    bool hasRows;                       // one entry a row: unit and unvoiced rows can be chosen
    bool isBinary;                      // nothing for a terminal
    bool needsLoudness;
    std::unique_ptr<TrackWriter> (*writer)(TrackHead);
};

// All of them; the first is the default.
const std::vector<TrackFormat>& trackFormats();

// The one of that name, extension or synonym, in any case; null: none.
const TrackFormat* findTrackFormat(const std::string& name);

// The one of that name, which must be one of them.
const TrackFormat& trackFormat(const std::string& name);

// Their names, separated by commas.
std::string trackFormatNames();

// The one that a file of this name says it is in, by its extension in any case; the default where it has none. Any other
// extension is wrong usage.
const TrackFormat& trackFormatOfFile(const std::string& path);

// Whether a file of this name says that it is a track.
bool isNamedLikeTrack(const std::string& path);

// Name of the column of pitches: frequency, cents or midi.
const char* pitchColumn(PitchUnit unit);

// Whether the row is to be written.
inline bool isWanted(const PitchRow& row, const TrackHead& head) {
    return row.frequency > 0.0f || head.unvoiced != UnvoicedRows::drop;
}

// The pitch of one row in the wanted unit; what stands for it where the row is unvoiced.
double pitchOf(const PitchRow& row, const TrackHead& head);

// First the formats whose bytes come with their rows.

// Text in columns, separated by commas or tabs: a header line and one line a row of time [s], pitch, confidence. A pitch
// that is not a number is `nan`.
std::unique_ptr<TrackWriter> csvWriter(TrackHead head);
std::unique_ptr<TrackWriter> tsvWriter(TrackHead head);

// Appends the line of one row in such a text.
void appendCsvLine(std::string& text, double time, double pitch, double confidence, char separator = ',');

// One JSON object a line and row: time, pitch (null where it is not a number) and confidence.
std::unique_ptr<TrackWriter> jsonLinesWriter(TrackHead head);

// Lines of seconds and Hz for every 5 ms from instant 0 on, as .f0 files hold known pitch: 0 where there is none, -1 for
// what was not tracked.
std::unique_ptr<TrackWriter> f0Writer(TrackHead head);

// Labelled segments, one a line: start [s], end [s] and `voiced` or `unvoiced`, separated by tabs. They cover the part
// that was tracked; between two rows that differ they meet in the middle.
std::unique_ptr<TrackWriter> labWriter(TrackHead head);

// Then those that say first how much there is, so that all of it must be known: 24 bytes a row are kept.

// A Praat PitchTier: a point in Hz for every voiced row.
std::string pitchTierText(const TrackDocument& document);

// A Praat TextGrid: the names of the notes of Notes.h in one tier, `voiced` in the other, and empty intervals between.
std::string textGridText(const TrackDocument& document);

// A Praat Pitch: one candidate for every row, 0 Hz where unvoiced, the confidence as its strength.
std::string praatPitchText(const TrackDocument& document);

// One line of JSON: `recording`, `sample_rate`, `start`, `end`, what the document is about, and `track` with one array a
// column. A pitch that is not a number is null.
std::string jsonText(const TrackDocument& document);

// A NumPy array, float64, so that the times of hours stay apart; rows x 3 in C order: time [s], pitch,
// confidence, and with loudness rows x 4.
std::string npyBytes(const TrackDocument& document);

// A standard MIDI file: format 0, one track, channel 1. Its notes are those of Notes.h; the loudest has velocity 112, the others
// less as they are less loud, all of them 96 where that was not measured. It ends with the part that was tracked.
std::string midiBytes(const TrackDocument& document);

}  // namespace katessel
