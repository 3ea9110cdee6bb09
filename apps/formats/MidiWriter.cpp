#include "apps/formats/MidiWriter.h"

#include <cmath>
#include <cstdint>

#include "apps/formats/BinaryText.h"
#include "recordings/tracks/NoteSegments.h"

namespace katessel {

namespace {

constexpr int kTicksPerBeat = 500;
constexpr int kBeatMicroseconds = 500000;  // 120 beats a minute, so that a tick is 1 ms
constexpr int kVelocity = 96;
constexpr int kNoteOn = 0x90, kNoteOff = 0x80;

// Seven bits a byte, the highest first; all but the last have the top bit set.
void appendVariable(std::string& bytes, std::uint32_t value) {
    int groups = 1;
    while (value >> 7 * groups != 0 && groups < 4) ++groups;
    for (int g = groups; g-- > 0;) bytes += static_cast<char>((value >> 7 * g & 0x7f) | (g > 0 ? 0x80 : 0));
}

// The events of a track, each after the time that passed since the one before.
class Events {
public:
    void add(double time, const std::string& event) {
        const long tick = std::lround(1000.0 * time);
        appendVariable(m_bytes, static_cast<std::uint32_t>(tick - m_tick));
        m_tick = tick;
        m_bytes += event;
    }

    void addNote(double time, int status, int number) {
        add(time, {static_cast<char>(status), static_cast<char>(number), static_cast<char>(kVelocity)});
    }

    const std::string& bytes() const { return m_bytes; }

private:
    std::string m_bytes;
    long m_tick = 0;
};

std::string chunk(const char* name, const std::string& content) {
    std::string bytes = name;
    appendBigEndian(bytes, static_cast<std::uint32_t>(content.size()), 4);
    return bytes + content;
}

}  // namespace

std::string midiBytes(const TrackDocument& document) {
    std::string header;
    for (const std::uint32_t value : {0, 1, kTicksPerBeat}) appendBigEndian(header, value, 2);

    std::string tempo("\xff\x51\x03", 3);
    appendBigEndian(tempo, kBeatMicroseconds, 3);
    Events events;
    events.add(0.0, tempo);
    for (const Note& note : findNotes(document.track, document.end)) {
        events.addNote(note.start, kNoteOn, note.number);
        events.addNote(note.end, kNoteOff, note.number);
    }
    events.add(document.end, std::string("\xff\x2f\x00", 3));
    return chunk("MThd", header) + chunk("MTrk", events.bytes());
}

}  // namespace katessel
