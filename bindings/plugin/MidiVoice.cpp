#include "MidiVoice.h"

namespace katessel::plugin {

bool MidiVoice::say(const Send& send, int kind, int first, int second) const {
    return send(kind | m_settings.channel, first, second);
}

void MidiVoice::bend(const Send& send, int value) {
    if (value != m_bend && say(send, midi::kBend, value & 0x7f, value >> 7)) m_bend = value;
}

void MidiVoice::end(const Send& send) {
    if (m_note != NoteDecoder::kNone && say(send, midi::kNoteOff, m_note, 0)) m_note = NoteDecoder::kNone;
}

void MidiVoice::change(const MidiSettings& settings, const Send& send) {
    end(send);
    bend(send, midi::kBendCentre);
    m_settings = settings;
    m_knowsRange = false;
}

void MidiVoice::play(const NotedRow& row, const Send& send) {
    if (!m_settings.isOn) return;
    if (m_settings.bendRange > 0 && !m_knowsRange) {
        m_knowsRange = true;
        for (const auto& [control, value] : midi::bendRangeControls(m_settings.bendRange))
            m_knowsRange = say(send, midi::kControl, control, value) && m_knowsRange;
    }
    const bool begins = row.note != m_note;
    if (begins) end(send);
    if (row.note == NoteDecoder::kNone || (begins && m_note != NoteDecoder::kNone)) return;
    // Before the note begins, too: it must not begin as the one before ended.
    if (m_settings.bendRange > 0) {
        if (row.row.frequency > 0.0f)
            bend(send, midi::bendOf(row.row.frequency, row.note, m_settings.bendRange));
        else if (begins)
            bend(send, midi::kBendCentre);
    }
    if (begins && say(send, midi::kNoteOn, row.note, midi::kUsualVelocity)) m_note = row.note;
}

}  // namespace katessel::plugin
