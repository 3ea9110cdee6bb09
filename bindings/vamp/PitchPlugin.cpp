#include "PitchPlugin.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <iostream>
#include <limits>
#include <stdexcept>

namespace {

constexpr char kThreshold[] = "threshold";
constexpr std::size_t kSilence = 1024;  // [samples] at a time

enum Output { kFrequency, kConfidence, kNotes };

// Parameters are fixed once a host has initialised the plug-in.
KaTessel::VoicingFilter<KaTessel::Pitch> voicingAt(float threshold) {
    return KaTessel::VoicingFilter<KaTessel::Pitch>({threshold, KaTessel::usualVoicing(KaTessel::Form::live)});
}

void complain(const std::string& what) { std::cerr << "katessel: " << what << std::endl; }

Vamp::Plugin::OutputDescriptor output(const char* identifier, const char* name, const char* unit,
                                      const char* description) {
    Vamp::Plugin::OutputDescriptor descriptor;
    descriptor.identifier = identifier;
    descriptor.name = name;
    descriptor.unit = unit;
    descriptor.description = description;
    descriptor.hasFixedBinCount = true;
    descriptor.binCount = 1;
    descriptor.sampleType = Vamp::Plugin::OutputDescriptor::VariableSampleRate;
    descriptor.sampleRate = KaTessel::facts::kFramesPerSecond;
    return descriptor;
}

// What the card of the model asks for. Without a model initialise() says why.
float cardThreshold() {
    try {
        return std::clamp(KaTessel::modelThreshold(KaTessel::defaultModel(KaTessel::Form::live)), 0.0f, 1.0f);
    } catch (const std::exception&) {
        return 0.5f;
    }
}

}  // namespace

PitchPlugin::PitchPlugin(float inputSampleRate)
    : Plugin(inputSampleRate),
      m_defaultThreshold(cardThreshold()),
      m_threshold(m_defaultThreshold),
      m_voicing(voicingAt(m_threshold)),
      m_silence(kSilence, 0.0f) {}

std::string PitchPlugin::getDescription() const {
    return "Fundamental frequency of a voice or an instrument every 5 ms, how sure it is, and notes";
}

PitchPlugin::ParameterList PitchPlugin::getParameterDescriptors() const {
    ParameterDescriptor threshold;
    threshold.identifier = kThreshold;
    threshold.name = "Threshold";
    threshold.description =
        "Confidence from which on the sound counts as voiced; somewhat more to begin, somewhat less to end";
    threshold.minValue = 0.0f;
    threshold.maxValue = 1.0f;
    threshold.defaultValue = m_defaultThreshold;
    return {threshold};
}

float PitchPlugin::getParameter(std::string identifier) const { return identifier == kThreshold ? m_threshold : 0.0f; }

void PitchPlugin::setParameter(std::string identifier, float value) {
    if (identifier == kThreshold) m_threshold = std::clamp(value, 0.0f, 1.0f);
}

PitchPlugin::OutputList PitchPlugin::getOutputDescriptors() const {
    OutputDescriptor frequency =
        output("f0", "Frequency", "Hz", "Fundamental frequency every 5 ms where the sound is voiced");
    OutputDescriptor confidence =
        output("confidence", "Confidence", "",
               "About the probability that the sound is voiced and its pitch right, every 5 ms");
    confidence.sampleType = OutputDescriptor::FixedSampleRate;
    OutputDescriptor notes = output("notes", "Notes", "Hz", "Notes of equal temperament, A4 at 440 Hz");
    notes.hasDuration = true;
    return {frequency, confidence, notes};
}

bool PitchPlugin::initialise(std::size_t channels, std::size_t stepSize, std::size_t blockSize) {
    m_tracker.reset();
    if (channels != 1 || stepSize == 0 || blockSize == 0) return false;
    m_step = stepSize;
    m_block = blockSize;
    guarded([&](FeatureSet&) {
        m_tracker.emplace(static_cast<int>(std::lround(m_inputSampleRate)));
        forget();
    });
    return m_tracker.has_value();
}

void PitchPlugin::reset() {
    if (!m_tracker) return;
    guarded([&](FeatureSet&) {
        m_tracker->reset();
        forget();
    });
}

template <class Work>
PitchPlugin::FeatureSet PitchPlugin::guarded(Work work) {
    FeatureSet features;
    try {
        work(features);
    } catch (const std::exception& error) {
        complain(error.what());
        m_tracker.reset();
    }
    return features;
}

void PitchPlugin::forget() {
    m_voicing = voicingAt(m_threshold);
    m_notes = {};
    m_end = 0.0;
    m_origin.reset();
    m_rest.clear();
    m_warned = false;
}

PitchPlugin::FeatureSet PitchPlugin::process(const float* const* inputBuffers, Vamp::RealTime timestamp) {
    if (!m_tracker) return {};
    return guarded([&](FeatureSet& features) {
        if (!m_origin) m_origin = timestamp;
        const float* const block = inputBuffers[0];
        const std::size_t fresh = std::min(m_step, m_block);
        feed(block, fresh, features);
        for (std::size_t missing = m_step - fresh; missing > 0;) {
            const std::size_t count = std::min(missing, kSilence);
            feed(m_silence.data(), count, features);
            missing -= count;
        }
        m_rest.assign(block + fresh, block + m_block);
    });
}

PitchPlugin::FeatureSet PitchPlugin::getRemainingFeatures() {
    if (!m_tracker || !m_origin) return {};
    return guarded([&](FeatureSet& features) {
        feed(m_rest.data(), m_rest.size(), features);
        const auto decided = [&](const KaTessel::Pitch& pitch, bool voiced) { add(pitch, voiced, features); };
        m_tracker->finish([&](const KaTessel::Pitch& pitch) { m_voicing.add(pitch, pitch.confidence, decided); });
        m_voicing.finish(decided);
        for (const katessel::Note& note : m_notes.finish(m_end)) add(note, features);
        forget();
    });
}

// A block with a sample that is no number counts as silence.
void PitchPlugin::feed(const float* samples, std::size_t count, FeatureSet& features) {
    const auto decided = [&](const KaTessel::Pitch& pitch, bool voiced) { add(pitch, voiced, features); };
    const auto take = [&](const KaTessel::Pitch& pitch) { m_voicing.add(pitch, pitch.confidence, decided); };
    try {
        m_tracker->process(samples, count, take);
    } catch (const std::invalid_argument& error) {
        if (!m_warned) complain(std::string(error.what()).append("; its block counts as silence"));
        m_warned = true;
        m_tracker->process(std::vector<float>(count, 0.0f), take);
    }
}

void PitchPlugin::add(const KaTessel::Pitch& pitch, bool voiced, FeatureSet& features) {
    voiced = voiced && pitch.frequency > 0.0f;
    if (voiced) features[kFrequency].push_back(at(pitch.time, pitch.frequency));
    features[kConfidence].push_back(at(pitch.time, pitch.confidence));
    m_end = pitch.time + KaTessel::facts::kHopSeconds;
    if (const auto note = m_notes.add({pitch.time, voiced ? pitch.frequency : 0.0f, pitch.confidence}))
        add(*note, features);
}

void PitchPlugin::add(const katessel::Note& note, FeatureSet& features) const {
    Feature feature = at(note.start, static_cast<float>(katessel::noteFrequency(note.number)));
    feature.hasDuration = true;
    feature.duration = Vamp::RealTime::fromSeconds(note.end - note.start);
    feature.label = katessel::noteName(note.number);
    features[kNotes].push_back(feature);
}

// `time` [s] counts from the first block on.
PitchPlugin::Feature PitchPlugin::at(double time, float value) const {
    Feature feature;
    feature.hasTimestamp = true;
    feature.timestamp = *m_origin + Vamp::RealTime::fromSeconds(time);
    feature.values = {value};
    return feature;
}
