// Tracks as bytes, the same on every machine: NumPy arrays and MIDI files.
#include <bit>
#include <cmath>
#include <cstdint>

#include "apps/formats/TrackFormat.h"
#include "recordings/tracks/Notes.h"

namespace katessel {

namespace {

constexpr std::size_t kNpyPrefix = 10;  // magic text, version, length of the header
constexpr std::size_t kNpyAlignment = 64;

constexpr std::uint32_t kTicksPerBeat = 500;
constexpr int kBeatMicroseconds = 500000;  // 120 beats a minute, so that a tick is 1 ms
constexpr int kVelocity = 96;
constexpr int kNoteOn = 0x90, kNoteOff = 0x80;

// The lowest `size` bytes of `value`, the lowest first.
void appendLittleEndian(std::string& bytes, std::uint32_t value, int size) {
    for (int i = 0; i < size; ++i) bytes += static_cast<char>(value >> 8 * i & 0xff);
}

// The same, the highest first.
void appendBigEndian(std::string& bytes, std::uint32_t value, int size) {
    for (int i = size; i-- > 0;) bytes += static_cast<char>(value >> 8 * i & 0xff);
}

// What stands before the values of an NPY file, after its prefix.
std::string npyHeader(std::size_t rows) {
    std::string text = "{'descr': '<f4', 'fortran_order': False, 'shape': (" + std::to_string(rows) + ", 3), }";
    // The values begin at a multiple of 64; the header ends with a line break.
    text.append((kNpyAlignment - (kNpyPrefix + text.size() + 1) % kNpyAlignment) % kNpyAlignment, ' ');
    return text + '\n';
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

std::string npyBytes(const TrackDocument& document) {
    std::string values;
    std::size_t rows = 0;
    for (const PitchRow& row : document.track) {
        if (!isWanted(row, document)) continue;
        ++rows;
        for (const double value : {row.time, pitchOf(row, document), static_cast<double>(row.confidence)})
            appendLittleEndian(values, std::bit_cast<std::uint32_t>(static_cast<float>(value)), 4);
    }
    const std::string text = npyHeader(rows);
    std::string bytes("\x93NUMPY\x01\x00", 8);
    appendLittleEndian(bytes, static_cast<std::uint32_t>(text.size()), 2);
    return bytes + text + values;
}

std::string midiBytes(const TrackDocument& document) {
    std::string header;
    for (const std::uint32_t value : {0u, 1u, kTicksPerBeat}) appendBigEndian(header, value, 2);

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
