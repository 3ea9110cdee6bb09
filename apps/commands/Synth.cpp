#include "apps/commands/Synth.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <set>
#include <utility>

#include "recordings/audio/AudioFile.h"
#include "recordings/audio/SoundWriter.h"
#include "recordings/base/Errors.h"
#include "recordings/base/OutputFile.h"
#include "recordings/tracks/GivenTrack.h"
#include "tracking/RecordingTracker.h"

namespace katessel {

namespace {

constexpr int kUsualRate = 48000;          // [Hz]
constexpr double kLevelSeconds = 0.03;     // of sound around a row whose level it takes
constexpr double kFullLevel = 0.15;        // root mean square at confidence 1, without a recording
constexpr double kLongest = 12.0 * 3600.0; // [s] of a track; more is a wrong time
constexpr double kTail = 0.02;             // [s] after the last row of a track: it fades

bool isTrackName(const std::string& path) {
    const std::set<std::string> kinds = {".csv", ".tsv", ".txt", ".f0"};
    return kinds.count(std::filesystem::path(path).extension().string()) != 0;
}

// The root mean square around each row.
std::vector<float> levelsOf(const Recording& recording, const PitchTrack& track) {
    std::vector<double> energy = {0.0};  // of all samples before
    energy.reserve(recording.samples.size() + 1);
    for (const double sample : recording.samples) energy.push_back(energy.back() + sample * sample);
    const auto sampleAt = [&](double time) {
        return static_cast<std::size_t>(std::clamp(time * recording.rate, 0.0, static_cast<double>(energy.size() - 1)));
    };
    std::vector<float> levels;
    for (const PitchRow& row : track) {
        const std::size_t from = sampleAt(row.time - 0.5 * kLevelSeconds), to = sampleAt(row.time + 0.5 * kLevelSeconds);
        const double mean = to > from ? (energy[to] - energy[from]) / static_cast<double>(to - from) : 0.0;
        levels.push_back(static_cast<float>(std::sqrt(std::max(mean, 0.0))));
    }
    return levels;
}

std::vector<float> levelsOfConfidence(const PitchTrack& track) {
    std::vector<float> levels;
    for (const PitchRow& row : track)  // what is no number becomes 0
        levels.push_back(static_cast<float>(kFullLevel * std::fmin(std::fmax(row.confidence, 0.0f), 1.0f)));
    return levels;
}

PitchTrack givenTrack(const SynthOptions& options) {
    PitchTrack track = readTrackOrReference(options.input);
    const double end = track.empty() ? 0.0 : track.back().time;
    if (!(end >= 0.0 && end <= kLongest))
        fail("cannot make the track audible", options.input, "times from 0 to " + shortNumber(kLongest) + " s",
             shortNumber(end) + " s");
    if (options.threshold) applyThreshold(track, *options.threshold);
    return track;
}

// Quieter, if need be, so that nothing is clipped.
void limit(std::vector<float>& sound) {
    float peak = 1.0f;
    for (const float sample : sound) peak = std::max(peak, std::fabs(sample));
    for (float& sample : sound) sample /= peak;
}

std::vector<std::vector<float>> channelsOf(const SynthOptions& options, std::vector<float> tone,
                                           const std::optional<Recording>& recording) {
    if (options.stereo) {
        limit(tone);
        return {recording->samples, std::move(tone)};
    }
    if (!options.mix.empty())
        for (std::size_t i = 0; i < tone.size(); ++i) tone[i] += recording->samples[i];
    limit(tone);
    return {std::move(tone)};
}

void checkOptions(const SynthOptions& options, bool fromTrack) {
    checkSoundName(options.output);
    checkThreshold(options.threshold);
    const std::string aTrack = "a track, " + options.input;
    if (fromTrack && !options.model.empty()) failUsage("wrong usage", "--model", "a recording to track", aTrack);
    if (fromTrack && options.stereo && options.mix.empty())
        failUsage("wrong usage", "--stereo", "a recording for the left, with --mix", "none");
    if (options.rate && (!fromTrack || !options.mix.empty()))
        failUsage("wrong usage", "--rate", "a track without a recording", "a recording, which has a rate");
    const OutputFile output(options.output);
    for (const std::string& input : {options.input, options.mix, options.model})
        if (!input.empty() && output.isSameAs(input))
            failUsage("cannot write", options.output, "a file of its own", "one that is read");
}

}  // namespace

void runSynth(const SynthOptions& options) {
    const bool fromTrack = isTrackName(options.input);
    checkOptions(options, fromTrack);
    std::optional<RecordingTracker> tracker;
    if (!fromTrack) tracker.emplace(options.model, options.threshold, options.mode);
    PitchTrack track;
    if (fromTrack) track = givenTrack(options);

    std::optional<Recording> recording;  // the one that is heard
    if (!options.mix.empty()) recording = readRecording(options.mix);
    if (!fromTrack) {
        Recording tracked = readRecording(options.input);
        track = tracker->track(tracked, options.input);
        if (!recording) recording = std::move(tracked);
    }
    const int rate = recording ? recording->rate : options.rate.value_or(kUsualRate);
    const double end = track.empty() ? 0.0 : track.back().time + kTail;
    const std::size_t count = recording ? recording->samples.size() : static_cast<std::size_t>(std::llround(end * rate));
    if (count == 0) fail("cannot make the track audible", options.input, "at least one row", "none");
    const std::vector<float> levels = recording ? levelsOf(*recording, track) : levelsOfConfidence(track);
    std::vector<float> tone = followPitch(track, levels, options.waveform, rate, count);
    const OutputFile output(options.output);
    output.write(soundBytes(channelsOf(options, std::move(tone), recording), rate, options.output));
}

}  // namespace katessel
