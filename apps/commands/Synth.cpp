// `katessel synth`: a pitch track made audible.
#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>
#include <optional>
#include <string>
#include <utility>

#include "apps/batch/RecordingProgress.h"
#include "apps/commands/Commands.h"
#include "recordings/audio/AudioFile.h"
#include "recordings/audio/SoundWriter.h"
#include "recordings/audio/ToneSynth.h"
#include "recordings/base/Errors.h"
#include "recordings/base/OutputFile.h"
#include "recordings/base/Text.h"
#include "recordings/tracks/TrackReader.h"
#include "tracking/Model.h"
#include "tracking/RecordingTracker.h"

namespace katessel {

namespace {

constexpr char kAboutSynth[] =
    "Writes a tone that follows the pitch. FILE is a track by its extension (.csv, .tsv,\n"
    ".txt, .f0, .json, .jsonl, .npy, .mid, .PitchTier, .Pitch), or else a recording,\n"
    "which is tracked first. The tone is as loud as the recording; without one, its level\n"
    "follows the confidence. What would be clipped is made quieter as a whole. 24 bits a\n"
    "sample.";

struct SynthOptions {
    std::string input;    // a track, an .f0 file or a recording, by its name
    std::string output;   // .wav or .flac
    std::string mix;      // recording that is heard as well; empty: none
    bool stereo = false;  // the recording on the left, the tone on the right
    Waveform waveform = Waveform::harmonics;
    std::optional<int> rate;          // [Hz]; none: the recording's, without one 48000
    std::string model;                // for a recording; empty: the default model
    std::optional<double> threshold;  // none: the model's own; of a given track, 0
    TrackMode mode = TrackMode::offline;
    std::optional<Voicing> voicing;  // none: the mode's usual one; of a given track, frame
    bool quiet = false;
};

constexpr int kUsualRate = 48000;           // [Hz]
constexpr double kLevelSeconds = 0.03;      // of sound around a row whose level it takes
constexpr double kFullLevel = 0.15;         // root mean square at confidence 1, without a recording
constexpr double kLongest = 12.0 * 3600.0;  // [s] of a track; more is a wrong time
constexpr double kTail = 0.02;              // [s] after the last row of a track: it fades

// The root mean square around each row.
std::vector<float> levelsOf(const Recording& recording, const PitchTrack& track) {
    const auto sampleAt = [&](double time) {
        return static_cast<std::ptrdiff_t>(
            std::clamp(time * recording.rate, 0.0, static_cast<double>(recording.length())));
    };
    std::vector<float> levels;
    for (const PitchRow& row : track) {
        const auto from = recording.samples.begin() + sampleAt(row.time - 0.5 * kLevelSeconds);
        const auto to = recording.samples.begin() + sampleAt(row.time + 0.5 * kLevelSeconds);
        const double energy =
            std::accumulate(from, to, 0.0, [](double sum, double sample) { return sum + sample * sample; });
        levels.push_back(static_cast<float>(to > from ? std::sqrt(energy / static_cast<double>(to - from)) : 0.0));
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
    PitchTrack track = readTrack(options.input);
    const double end = track.empty() ? 0.0 : track.back().time;
    if (!(end >= 0.0 && end <= kLongest))
        fail("cannot make the track audible", options.input, "times from 0 to " + shortNumber(kLongest) + " s",
             shortNumber(end) + " s");
    if (options.threshold) applyVoicing(track, {*options.threshold, options.voicing.value_or(Voicing::frame)});
    return track;
}

// Scales the sound down where its peak would be clipped.
void avoidClipping(std::vector<float>& sound) {
    float peak = 1.0f;
    for (const float sample : sound) peak = std::max(peak, std::fabs(sample));
    for (float& sample : sound) sample /= peak;
}

std::vector<std::vector<float>> channelsOf(const SynthOptions& options, std::vector<float> tone,
                                           const std::optional<Recording>& recording) {
    if (options.stereo) {
        avoidClipping(tone);
        return {recording->samples, std::move(tone)};
    }
    if (!options.mix.empty())
        for (std::size_t i = 0; i < tone.size(); ++i) tone[i] += recording->samples[i];
    avoidClipping(tone);
    return {std::move(tone)};
}

void checkOptions(const SynthOptions& options, bool fromTrack) {
    checkSoundName(options.output);
    const std::string aTrack = "a track, " + options.input;
    if (fromTrack && !options.model.empty()) failUsage("wrong usage", "--model", "a recording to track", aTrack);
    if (fromTrack && options.stereo && options.mix.empty())
        failUsage("wrong usage", "--stereo", "a recording for the left, with --mix", "none");
    if (options.rate && (!fromTrack || !options.mix.empty()))
        failUsage("wrong usage", "--rate", "a track without a recording", "a recording, which has a rate");
}

void checkOutput(const SynthOptions& options, const Model& model) {
    ReadFiles read;
    read.add(options.input);
    read.add(options.mix);
    addModel(read, model.path);
    checkOutputs({options.output}, read);
}

void runSynth(const SynthOptions& options) {
    const bool fromTrack = isNamedLikePitch(options.input);
    checkOptions(options, fromTrack);
    Model model;
    PitchTrack track;
    if (!fromTrack) model = chooseModel(options.model, options.mode, options.threshold);
    checkOutput(options, model);
    if (fromTrack) track = givenTrack(options);

    RecordingProgress progress(!options.quiet);
    std::optional<Recording> recording;  // the one that is heard
    if (!options.mix.empty()) recording = readRecording(options.mix, progress);
    if (!fromTrack) {
        Recording tracked = readRecording(options.input, progress);
        track = trackRecording(model, options.mode, tracked, options.input, progress);
        applyVoicing(track, {model.threshold, options.voicing.value_or(usualVoicing(options.mode))});
        if (!recording) recording = std::move(tracked);
    }
    const int rate = recording ? recording->rate : options.rate.value_or(kUsualRate);
    const double end = track.empty() ? 0.0 : track.back().time + kTail;
    const std::size_t count =
        recording ? recording->samples.size() : static_cast<std::size_t>(std::llround(end * rate));
    if (count == 0) fail("cannot make the track audible", options.input, "at least one row", "none");
    const std::vector<float> levels = recording ? levelsOf(*recording, track) : levelsOfConfidence(track);
    std::vector<float> tone = followPitch(track, levels, options.waveform, rate, count,
                                          progress.watch("making the tone", static_cast<double>(count) / rate));
    const OutputFile output(options.output);
    output.write(soundBytes(channelsOf(options, std::move(tone), recording), rate, options.output));
}

}  // namespace

void addSynthCommand(CLI::App& app) {
    const auto owned = std::make_shared<SynthOptions>();
    SynthOptions& options = *owned;
    CLI::App* command = app.add_subcommand("synth", "Make a pitch track audible");
    command->footer(kAboutSynth);
    command->add_option("FILE", options.input, "Track, .f0 file or recording")->required();
    command->add_option("-o,--output", options.output, "Sound file: a name that ends with .wav or .flac")
        ->type_name("FILE")
        ->required();
    command->add_option("--mix", options.mix, "Let this recording be heard as well")->type_name("FILE");
    command->add_flag("--stereo", options.stereo, "Recording on the left, tone on the right");
    const auto choose = [&options](const std::string& name) {
        options.waveform = name == "sine" ? Waveform::sine : Waveform::harmonics;
    };
    command->add_option_function<std::string>("--waveform", choose, "harmonics: eight of them (default); sine: one")
        ->check(CLI::IsMember({"harmonics", "sine"}));
    command->add_option("--rate", options.rate, "Sample rate [Hz] of a track without a recording (default: 48000)")
        ->check(CLI::Range(8000, 384000));
    addModelOption(*command, options.model);
    addThresholdOption(*command, options.threshold);
    addModeOption(
        *command, [&options](TrackMode mode) { options.mode = mode; }, "As for track");
    addVoicingOption(*command, options.voicing);
    addQuietOption(*command, options.quiet);
    whenChosen(*command, [owned] { runSynth(*owned); });
}

}  // namespace katessel
