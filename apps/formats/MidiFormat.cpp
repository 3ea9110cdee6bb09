// Tracks as standard MIDI files: their notes, how loud these are, and, if wanted, how the pitch bends within them.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <span>

#include "apps/formats/TrackFormat.h"
#include "recordings/tracks/Midi.h"
#include "recordings/tracks/Notes.h"

namespace katessel {

namespace {

constexpr std::uint32_t kTicksPerBeat = 960;
constexpr double kMinute = 60e6;       // [us]
constexpr double kHighVelocity = 112;  // of the loudest note

// The lowest `size` bytes of `value`, the highest first.
void appendBigEndian(std::string& bytes, std::uint32_t value, int size) {
    for (int i = size; i-- > 0;) bytes += static_cast<char>(value >> 8 * i & 0xff);
}

// Seven bits a byte, the highest first; all but the last have the top bit set.
void appendVariable(std::string& bytes, std::uint32_t value) {
    int groups = 1;
    while (value >> 7 * groups != 0 && groups < 4) ++groups;
    for (int g = groups; g-- > 0;) bytes += static_cast<char>((value >> 7 * g & 0x7f) | (g > 0 ? 0x80 : 0));
}

// The events of a track, each after the time that passed since the one before.
class Events {
public:
    explicit Events(double tempo) : m_beat(static_cast<std::uint32_t>(std::lround(kMinute / tempo))) {
        std::string event("\xff\x51\x03", 3);
        appendBigEndian(event, m_beat, 3);
        add(0.0, event);
    }

    void add(double time, const std::string& event) {
        const long tick = std::lround(1e6 * time / m_beat * kTicksPerBeat);
        appendVariable(m_bytes, static_cast<std::uint32_t>(tick - m_tick));
        m_tick = tick;
        m_bytes += event;
    }

    void add(double time, int status, int first, int second) {
        add(time, {static_cast<char>(status), static_cast<char>(first), static_cast<char>(second)});
    }

    const std::string& bytes() const { return m_bytes; }

private:
    std::uint32_t m_beat;  // [us]
    std::string m_bytes;
    long m_tick = 0;
};

std::span<const PitchRow> rowsOf(const Note& note, const PitchTrack& track) {
    const auto isBefore = [](const PitchRow& row, double time) { return row.time < time; };
    const auto begin = std::lower_bound(track.begin(), track.end(), note.start, isBefore);
    const auto end = std::lower_bound(begin, track.end(), note.end, isBefore);
    // libc++ 13 makes no span of two iterators.
    return {track.data() + (begin - track.begin()), static_cast<std::size_t>(end - begin)};
}

// Root mean square over the note [dB]; not a number where it was not measured.
double loudnessOf(std::span<const PitchRow> rows) {
    double energy = 0.0;
    for (const PitchRow& row : rows) energy += std::pow(10.0, 0.1 * row.loudness);
    return 10.0 * std::log10(energy / static_cast<double>(rows.size()));
}

// For 12 dB less about half of it, as General MIDI has it.
int velocityOf(double loudness, double loudest) {
    if (std::isnan(loudness)) return midi::kUsualVelocity;
    return static_cast<int>(
        std::clamp(std::round(kHighVelocity * std::pow(10.0, (loudness - loudest) / 40.0)), 1.0, 127.0));
}

void addBendRange(Events& events) {
    for (const auto& [control, value] : midi::bendRangeControls(midi::kUsualBendRange))
        events.add(0.0, midi::kControl, control, value);
}

// Before the note begins, too: it must not begin as the one before ended.
void addBends(Events& events, const Note& note, std::span<const PitchRow> rows, int velocity) {
    int bend = -1;
    const auto bendOf = [&](const PitchRow& row) {
        return midi::bendOf(row.frequency, note.number, midi::kUsualBendRange);
    };
    const auto moveTo = [&](double time, int next) {
        if (next != bend) events.add(time, midi::kBend, next & 0x7f, next >> 7);
        bend = next;
    };
    const auto isVoiced = [](const PitchRow& row) { return row.frequency > 0.0f; };
    const auto first = std::find_if(rows.begin(), rows.end(), isVoiced);
    moveTo(note.start, first != rows.end() ? bendOf(*first) : midi::kBendCentre);
    events.add(note.start, midi::kNoteOn, note.number, velocity);
    for (const PitchRow& row : rows)
        if (isVoiced(row)) moveTo(row.time, bendOf(row));
}

std::string chunk(const char* name, const std::string& content) {
    std::string bytes = name;
    appendBigEndian(bytes, static_cast<std::uint32_t>(content.size()), 4);
    return bytes + content;
}

}  // namespace

std::string midiBytes(const TrackDocument& document) {
    const std::vector<Note> notes = findNotes(document.track, document.end);
    double loudest = std::nan("");
    for (const Note& note : notes) loudest = std::fmax(loudest, loudnessOf(rowsOf(note, document.track)));

    Events events(document.tempo);
    if (document.pitchBend) addBendRange(events);
    for (const Note& note : notes) {
        const std::span<const PitchRow> rows = rowsOf(note, document.track);
        const int velocity = velocityOf(loudnessOf(rows), loudest);
        if (document.pitchBend)
            addBends(events, note, rows, velocity);
        else
            events.add(note.start, midi::kNoteOn, note.number, velocity);
        events.add(note.end, midi::kNoteOff, note.number, 0);
    }
    events.add(document.end, std::string("\xff\x2f\x00", 3));

    std::string header;
    for (const std::uint32_t value : {0u, 1u, kTicksPerBeat}) appendBigEndian(header, value, 2);
    return chunk("MThd", header) + chunk("MTrk", events.bytes());
}

}  // namespace katessel
