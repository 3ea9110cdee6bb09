// The engine as a WebAssembly module: what katessel/engine.js calls. One instance of the module is one tracker, so there are
// no handles, and its memory goes when JavaScript forgets the instance.
//
// There are no exceptions here: whatever is thrown ends the instance. So all that may be wrong is looked at before, in
// engine.js or in `open`, and nothing is left but memory that runs out.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "apps/formats/TrackFormat.h"
#include "apps/picture/Spectrogram.h"
#include "katessel/Globals.h"
#include "katessel/InstructionSet.h"
#include "katessel/Tracker.hpp"
#include "recordings/tracks/Notes.h"
#include "recordings/tracks/PitchTrack.h"
#include "tracking/AnalysisParts.h"

#define EXPORT(name) __attribute__((export_name(name)))

// Copies `count` samples of the recording that is being analysed, those from `from` on.
__attribute__((import_module("host"), import_name("copySamples"))) void copySamples(float* to, double from, int count);

namespace {

using namespace katessel;
using KaTessel::Form;
using KaTessel::Pitch;
using VoicingFilter = KaTessel::VoicingFilter<Pitch>;

constexpr std::int64_t kPartSeconds = 120;  // as much as the tool analyses at once

struct Listener {
    KaTessel::Tracker tracker;
    VoicingRule rule;
    VoicingFilter voicing;  // of the live sound
};
std::optional<Listener> listener;

std::vector<float> given;     // what JavaScript passes to the next call, samples or bytes
PitchTrack rows;              // what the last call has decided, 0 Hz where unvoiced; or a track that JavaScript passes
std::vector<Note> found;      // by the last call of `notes`
std::vector<uint32_t> image;  // made by the last call of `spectrogram`
std::string bytes;            // said or written by the last call

// JavaScript reads and writes them as they lie in memory.
static_assert(sizeof(PitchRow) == 24 && offsetof(PitchRow, frequency) == 8 && offsetof(PitchRow, confidence) == 12);
static_assert(sizeof(Note) == 24 && offsetof(Note, end) == 8 && offsetof(Note, number) == 16);

void decide(const Pitch& pitch, bool voiced) {
    rows.push_back({.time = pitch.time, .frequency = voiced ? pitch.frequency : 0.0f, .confidence = pitch.confidence});
}

void addLive(const Pitch& pitch) { listener->voicing.add(pitch, pitch.confidence, decide); }

bool refuse(const std::string& why) {
    bytes = why;
    return false;
}

}  // namespace

// Room for what the next call takes.
EXPORT("room") float* room(std::size_t floats) {
    given.resize(std::max<std::size_t>(floats, 1));
    return given.data();
}
EXPORT("rowRoom") PitchRow* rowRoom(std::size_t count) {
    rows.assign(count, PitchRow());
    return rows.data();
}

// What the last call has left.
EXPORT("rows") const PitchRow* decidedRows() { return rows.data(); }
EXPORT("found") const Note* foundNotes() { return found.data(); }
EXPORT("image") const std::uint32_t* madeImage() { return image.data(); }
EXPORT("bytes") const char* leftBytes() { return bytes.data(); }
EXPORT("byteCount") std::size_t byteCount() { return bytes.size(); }

// Makes the tracker, with weights of `weightBytes` bytes that lie in the room. False: `bytes` says why not.
EXPORT("open") bool openTracker(bool live, int rate, std::size_t weightBytes, double threshold) {
    using KaTessel::Tracker;
    KaTessel::performance_analysis_ = 0;  // nobody asks how long its steps take
    if (rate < Tracker::kLowestRate || rate > Tracker::kHighestRate)
        return refuse("bad rate: expected " + std::to_string(Tracker::kLowestRate) + " to " +
                      std::to_string(Tracker::kHighestRate) + " Hz, found " + std::to_string(rate));
    char fault[512] = "";
    if (KTesselExt_CheckWeights(given.data(), weightBytes, fault, sizeof fault) != KTESSELEXT_OK)
        return refuse(std::string("bad model: weights: ") + fault);
    const VoicingRule rule(threshold, KaTessel::usualVoicing(live ? Form::live : Form::offline));
    listener.emplace(Listener{KaTessel::Tracker(rate, given.data(), weightBytes), rule, VoicingFilter(rule)});
    return true;
}

// [samples] that a live value waits for
EXPORT("latency") int latency() { return listener->tracker.latency(); }

// A live sound: the next samples lie in the room. The number of rows that they decide.
EXPORT("process") std::size_t process(std::size_t samples) {
    rows.clear();
    listener->tracker.process(given.data(), samples, addLive);
    return rows.size();
}

// Its end: the rows that still waited. The tracker is then as new.
EXPORT("finish") std::size_t finish() {
    rows.clear();
    listener->tracker.finish(addLive);
    listener->voicing.finish(decide);
    return rows.size();
}

// A whole recording of any length, which the host holds.
EXPORT("analyse") std::size_t analyse(double length) {
    rows.clear();
    VoicingFilter voicing(listener->rule);
    double at = 0.0;
    const auto fill = [&](std::vector<float>& samples, std::size_t wanted) {
        const std::size_t before = samples.size();
        const double count = std::min(static_cast<double>(wanted - before), length - at);
        samples.resize(before + static_cast<std::size_t>(count));
        copySamples(samples.data() + before, at, static_cast<int>(count));
        at += count;
    };
    analyseInParts(listener->tracker, kPartSeconds, fill,
                   [&](const Pitch& pitch) { voicing.add(pitch, pitch.confidence, decide); });
    voicing.finish(decide);
    return rows.size();
}

// The notes of the track in `rowRoom`, which ends at `end` [s].
EXPORT("notes") std::size_t notes(double end) {
    found = findNotes(rows, end);
    return found.size();
}

// The same as a MIDI file, in `bytes`.
EXPORT("midi") void midi(double end) {
    TrackDocument document;
    document.track = rows;
    document.end = end;
    bytes = midiBytes(document);
}

// A spectrogram of sound that lies in the room, of the part from `start` on, `duration` long [s]. Pixels 0x00RRGGBB, the top
// row first; white at `quietest` [dB].
EXPORT("spectrogram")
void spectrogram(std::size_t samples, int rate, double start, double duration, double bottom, double top, int columns,
                 int height, double quietest, double loudest) {
    Recording recording;
    recording.rate = rate;
    recording.samples.assign(given.begin(), given.begin() + static_cast<std::ptrdiff_t>(samples));
    const FrequencyScale scale(bottom, top, true);
    const ColourScale colours(quietest, loudest);
    image.clear();
    for (const float level : makeSpectrogram(recording, start, duration, scale, columns, height, [](double) {}).levels)
        image.push_back(colours.colourOf(level));
}

// Which vectors this module computes with, in `bytes`.
EXPORT("instructions") void instructions() { bytes = KaTessel::instructionSet(); }
