// One voice in MIDI: the note that sounds, and how its pitch bends.
#ifndef KATESSEL_PLUGIN_MIDIVOICE_H
#define KATESSEL_PLUGIN_MIDIVOICE_H

#include <functional>

#include "recordings/tracks/Midi.h"
#include "recordings/tracks/Notes.h"

namespace katessel::plugin {

struct MidiSettings {
    bool isOn = true;
    int channel = 0;                        // 0 to 15
    int bendRange = midi::kUsualBendRange;  // [semitones] to either side; 0: notes alone

    bool operator==(const MidiSettings&) const = default;
};

class MidiVoice {
public:
    // Hands over one message: status with its channel, and two values. Returns false where there was no room for it.
    using Send = std::function<bool(int status, int first, int second)>;

    // Ends what sounds by the settings of before. The instrument hears of its bend range with the next row.
    void change(const MidiSettings& settings, const Send& send);

    // Ends the note, if one sounds.
    void end(const Send& send);

    // The next row. A message that was not taken is sent again with the row after, so that no note stays behind.
    void play(const NotedRow& row, const Send& send);

private:
    bool say(const Send& send, int kind, int first, int second) const;
    void bend(const Send& send, int value);

    MidiSettings m_settings;
    int m_note = NoteDecoder::kNone;  // that sounds
    int m_bend = midi::kBendCentre;   // that the instrument has
    bool m_knowsRange = false;
};

}  // namespace katessel::plugin

#endif
