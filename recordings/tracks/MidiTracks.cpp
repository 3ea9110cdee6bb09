// Tracks from standard MIDI files: what sounds every 5 ms, the last note to begin where several do.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

#include "recordings/base/Errors.h"
#include "recordings/base/Text.h"
#include "recordings/tracks/Midi.h"
#include "recordings/tracks/Notes.h"
#include "recordings/tracks/TrackRows.h"

namespace katessel {

namespace {

constexpr double kLongest = 12.0 * 3600.0;  // [s]

enum class EventKind { tempo, noteOff, noteOn, bend, bendRange, end };

struct Event {
    std::uint64_t tick = 0;
    EventKind kind = EventKind::end;
    int value = 0;  // us of a beat, note number, bend from its centre, semitones
};

// The bytes of a file, of which nothing may be missing.
class Bytes {
public:
    Bytes(const std::string& bytes, const std::string& path) : m_bytes(bytes), m_path(path) {}

    std::size_t at() const { return m_at; }
    bool isAtEnd() const { return m_at >= m_bytes.size(); }
    void skipTo(std::size_t place) { m_at = place; }

    int next() {
        if (isAtEnd()) fail(kCannotReadPitch, m_path, "a whole MIDI file", "its end within an event");
        return static_cast<unsigned char>(m_bytes[m_at++]);
    }
    int peek() { return isAtEnd() ? next() : static_cast<unsigned char>(m_bytes[m_at]); }
    std::uint32_t number(int size) {
        std::uint32_t value = 0;
        for (int i = 0; i < size; ++i) value = value << 8 | static_cast<std::uint32_t>(next());
        return value;
    }
    std::uint32_t variable() {
        std::uint32_t value = 0;
        for (int i = 0; i < 4; ++i) {
            const int byte = next();
            value = value << 7 | static_cast<std::uint32_t>(byte & 0x7f);
            if (byte < 0x80) break;
        }
        return value;
    }

private:
    const std::string& m_bytes;
    const std::string& m_path;
    std::size_t m_at = 0;
};

// Appends the events of a track that begins here and ends at a place.
void readEvents(Bytes& bytes, std::size_t end, std::vector<Event>& events) {
    std::uint64_t tick = 0;
    int status = 0;
    while (bytes.at() < end) {
        tick += bytes.variable();
        if (bytes.peek() >= 0x80) status = bytes.next();  // else that of the event before
        if (status == 0xff || status == 0xf0 || status == 0xf7) {
            const int type = status == 0xff ? bytes.next() : -1;
            const std::uint32_t length = bytes.variable();
            const std::size_t after = bytes.at() + length;
            if (type == 0x51 && length == 3)
                events.push_back({tick, EventKind::tempo, static_cast<int>(bytes.number(3))});
            if (type == 0x2f) events.push_back({tick, EventKind::end, 0});
            bytes.skipTo(after);
            continue;
        }
        const int kind = status & 0xf0, first = bytes.next();
        const int second = kind == 0xc0 || kind == 0xd0 ? 0 : bytes.next();
        if (kind == 0x90 && second > 0) events.push_back({tick, EventKind::noteOn, first});
        if (kind == 0x80 || (kind == 0x90 && second == 0)) events.push_back({tick, EventKind::noteOff, first});
        if (kind == 0xe0) events.push_back({tick, EventKind::bend, (second << 7 | first) - midi::kBendCentre});
        if (kind == 0xb0 && first == 6) events.push_back({tick, EventKind::bendRange, second});
    }
}

// What sounds while events pass.
class Player {
public:
    Player(double ticksPerBeat, std::string path)
        : m_ticksPerBeat(ticksPerBeat), m_path(path), m_rows(std::move(path)) {}

    void play(const Event& event) {
        m_time += static_cast<double>(event.tick - m_tick) / m_ticksPerBeat * m_beat;
        m_tick = event.tick;
        if (m_time > kLongest)
            fail(kCannotReadPitch, m_path, "times from 0 to " + shortNumber(kLongest) + " s",
                 shortNumber(m_time) + " s");
        for (; static_cast<double>(m_frame) * kHopSeconds < m_time - kRounding; ++m_frame)
            m_rows.add("its notes", static_cast<double>(m_frame) * kHopSeconds, frequency());
        switch (event.kind) {
            case EventKind::tempo: m_beat = 1e-6 * event.value; break;
            case EventKind::noteOn: m_note = event.value; break;
            case EventKind::noteOff: m_note = m_note == event.value ? -1 : m_note; break;
            case EventKind::bend: m_bend = static_cast<double>(event.value) / midi::kBendCentre; break;
            case EventKind::bendRange: m_bendRange = event.value; break;
            case EventKind::end: break;
        }
    }

    PitchTrack rows() { return m_rows.take(); }

private:
    static constexpr double kRounding = 6e-4;  // [s] of a tick, so that a row is that of the note that begins with it

    double frequency() const {
        return m_note < 0 ? 0.0 : noteFrequency(m_note) * std::exp2(m_bend * m_bendRange / 12.0);
    }

    double m_ticksPerBeat;
    std::string m_path;
    TrackRows m_rows;
    double m_beat = 0.5;  // [s]
    double m_time = 0.0;  // [s]
    std::uint64_t m_tick = 0;
    std::int64_t m_frame = 0;
    int m_note = -1;                         // -1: silence
    double m_bend = 0.0, m_bendRange = 2.0;  // -1 to 1; [semitones]
};

}  // namespace

PitchTrack trackFromMidi(const std::string& bytes, const std::string& path) {
    Bytes file(bytes, path);
    if (!bytes.starts_with("MThd")) fail(kCannotReadPitch, path, "a MIDI file", "something else");
    file.skipTo(4);
    const std::size_t header = file.number(4) + 8;
    file.number(4);  // format, number of tracks
    const std::uint32_t division = file.number(2);
    if (division == 0 || division >= 0x8000)
        fail(kCannotReadPitch, path, "a MIDI file in beats", "one in frames of film");
    std::vector<Event> events;
    for (file.skipTo(header); !file.isAtEnd();) {
        const bool isTrack = file.number(4) == 0x4d54726b;  // MTrk
        const std::size_t length = file.number(4), end = file.at() + length;
        if (end > bytes.size()) fail(kCannotReadPitch, path, "a whole MIDI file", "its end within a track");
        if (isTrack) readEvents(file, end, events);
        file.skipTo(end);
    }
    std::stable_sort(events.begin(), events.end(), [](const Event& a, const Event& b) { return a.tick < b.tick; });
    Player player(division, path);
    for (const Event& event : events) player.play(event);
    return player.rows();
}

}  // namespace katessel
