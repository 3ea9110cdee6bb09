#include "PitchPlugin.h"

#include <katessel/Version.h>

#include <algorithm>
#include <cmath>
#include <exception>
#include <iostream>

namespace katessel::plugin {

using namespace DISTRHO_NAMESPACE;

namespace {

constexpr int kHop = 5;                    // [ms]
constexpr int kUsualLookAhead = 100;       // [ms]
constexpr float kMostCents = 100.0f;       // to either side
constexpr float kMostFrequency = 5000.0f;  // [Hz] above the highest key of a piano

struct ParameterFacts {
    const char *symbol, *name, *unit, *description;
    std::uint32_t hints;
    float usual, least, most;
};

constexpr std::uint32_t kWhole = kParameterIsInteger, kAutomated = kParameterIsAutomatable, kShown = kParameterIsOutput;

// Changes the latency. In LV2 DPF would say so in words that LV2's own validator does not know.
#ifdef DISTRHO_PLUGIN_TARGET_LV2
constexpr std::uint32_t kSet = kWhole | kAutomated;
#else
constexpr std::uint32_t kSet = kWhole;
#endif

// In the order of ParameterIndex. Inputs are whole numbers: DPF writes them into CLAP states as text and reads fractions
// back by the locale of the host.
constexpr ParameterFacts kFacts[kParameters] = {
    {"threshold", "Threshold", "%", "Confidence from which on the sound has a pitch", kAutomated | kWhole, 50, 0, 100},
    {"look_ahead", "Look-ahead", "ms",
     "How much of the sound behind an instant decides about its note; part of the latency", kSet, kUsualLookAhead, kHop,
     kHop* NoteDecoder::kMostLag},
    {"midi", "MIDI", "", "Play the notes", kAutomated | kWhole | kParameterIsBoolean, 1, 0, 1},
    {"channel", "MIDI Channel", "", "", kAutomated | kWhole, 1, 1, 16},
    {"bend_range", "Bend Range", "semitones", "How far the pitch may bend within a note; 0: notes alone",
     kAutomated | kWhole, midi::kUsualBendRange, 0, 48},
    {"note", "Note", "", "The note that sounds", kShown | kWhole, NoteDecoder::kNone, NoteDecoder::kNone, 127},
    {"frequency", "Frequency", "Hz", "Fundamental frequency; 0 where there is none", kShown, 0, 0, kMostFrequency},
    {"cents", "Cents", "ct", "Distance from the note", kShown, 0, -kMostCents, kMostCents},
    {"confidence", "Confidence", "", "About the probability that there is a pitch, and this one", kShown, 0, 0, 1},
};

// [%] What the card of the model asks for. Without a model, or with a bad one, prepare() says why.
float usualThreshold() {
    try {
        const float threshold = KaTessel::modelThreshold(KaTessel::defaultModel(KaTessel::Form::live));
        return std::round(100.0f * std::clamp(threshold, 0.0f, 1.0f));
    } catch (const std::exception&) {
        return kFacts[kThreshold].usual;
    }
}

}  // namespace

PitchPlugin::PitchPlugin() : Plugin(kParameters, 0, 0) {
    for (std::size_t i = 0; i < kParameters; ++i) m_values[i] = kFacts[i].usual;
    m_values[kThreshold] = usualThreshold();
    if (!isDummyInstance()) prepare();
}

const char* PitchPlugin::getDescription() const {
    return "The pitch of one voice or instrument: note, frequency, cents and confidence, and the notes as MIDI";
}

std::uint32_t PitchPlugin::getVersion() const {
    return d_version(KATESSEL_VERSION_MAJOR, KATESSEL_VERSION_MINOR, KATESSEL_VERSION_PATCH);
}

void PitchPlugin::initAudioPort(bool input, std::uint32_t index, AudioPort& port) {
    port.groupId = kPortGroupMono;
    Plugin::initAudioPort(input, index, port);
}

void PitchPlugin::initParameter(std::uint32_t index, Parameter& parameter) {
    const ParameterFacts& facts = kFacts[index];
    parameter.symbol = facts.symbol;
    parameter.name = facts.name;
    parameter.unit = facts.unit;
    parameter.description = facts.description;
    parameter.hints = facts.hints;
    parameter.ranges = ParameterRanges(m_values[index], facts.least, facts.most);
    if (index != kNote) return;
    // Names, so that the tables of values that hosts show are a tuner.
    constexpr int kLast = 127, kCount = kLast + 2;
    parameter.enumValues.count = kCount;
    parameter.enumValues.restrictedMode = true;
    parameter.enumValues.values = new ParameterEnumerationValue[kCount];  // DPF deletes them
    parameter.enumValues.values[0] = {static_cast<float>(NoteDecoder::kNone), "-"};
    for (int note = 0; note <= kLast; ++note)
        parameter.enumValues.values[1 + note] = {static_cast<float>(note), noteName(note).c_str()};
}

int PitchPlugin::valueOf(ParameterIndex index) const {
    const float value = std::clamp(m_values[index].load(), kFacts[index].least, kFacts[index].most);
    return static_cast<int>(std::lround(value));
}

// For the rate of now. Nothing may be thrown through the host: what is thrown is said on standard error.
void PitchPlugin::prepare() {
    const int rate = static_cast<int>(std::lround(getSampleRate()));
    try {
        if (!m_stream || m_stream->rate() != rate) m_stream.emplace(rate);
    } catch (const std::exception& error) {
        std::cerr << "katessel: " << error.what() << std::endl;
        m_stream.reset();
    }
    restart();
}

void PitchPlugin::restart() {
    m_lookAhead = valueOf(kLookAhead);
    m_settings.reset();
    show({{}, NoteDecoder::kNone});
    if (m_stream) m_stream->restart(std::max(1, m_lookAhead / kHop));
    setLatency(m_stream ? static_cast<std::uint32_t>(m_stream->latency()) : 0);
}

void PitchPlugin::activate() {
    if (m_stream) restart();
}

// What the host has set since the block before.
void PitchPlugin::follow() {
    if (valueOf(kLookAhead) != m_lookAhead) restart();
    if (valueOf(kThreshold) != m_threshold) {
        m_threshold = valueOf(kThreshold);
        m_stream->setThreshold(0.01f * static_cast<float>(m_threshold));
    }
    const MidiSettings settings{valueOf(kMidi) != 0, valueOf(kChannel) - 1, valueOf(kBendRange)};
    if (settings == m_settings) return;
    m_settings = settings;
    m_voice.change(settings, [this](int status, int first, int second) { return send(0, status, first, second); });
}

void PitchPlugin::show(const NotedRow& row) {
    const bool isVoiced = row.row.frequency > 0.0f, isNote = isVoiced && row.note != NoteDecoder::kNone;
    const double off = isNote ? 100.0 * (midiNote(row.row.frequency) - row.note) : 0.0;
    m_values[kNote] = static_cast<float>(row.note);
    m_values[kFrequency] = std::min(row.row.frequency, kMostFrequency);
    m_values[kCents] = std::clamp(static_cast<float>(off), -kMostCents, kMostCents);
    m_values[kConfidence] = row.row.confidence;
}

bool PitchPlugin::send(std::uint32_t frame, int status, int first, int second) {
    MidiEvent event = {frame, 3, {}, nullptr};
    event.data[0] = static_cast<std::uint8_t>(status);
    event.data[1] = static_cast<std::uint8_t>(first);
    event.data[2] = static_cast<std::uint8_t>(second);
    return writeMidiEvent(event);
}

void PitchPlugin::run(const float** inputs, float** outputs, std::uint32_t frames) {
    if (!m_stream) {
        if (outputs[0] != inputs[0]) std::copy_n(inputs[0], frames, outputs[0]);
        return;
    }
    follow();
    m_stream->process(inputs[0], outputs[0], frames, [this](std::uint32_t frame, const NotedRow& row) {
        show(row);
        m_voice.play(row,
                     [this, frame](int status, int first, int second) { return send(frame, status, first, second); });
    });
}

}  // namespace katessel::plugin

START_NAMESPACE_DISTRHO

Plugin* createPlugin() { return new katessel::plugin::PitchPlugin(); }

END_NAMESPACE_DISTRHO
