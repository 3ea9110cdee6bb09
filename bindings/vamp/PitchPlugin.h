// The pitch tracker as a Vamp plug-in: frequency, confidence and notes.
//
// It streams: what it gives does not depend on the blocks, comes while the host still reads, notes a second behind their
// end, and takes no memory that grows with the sound. Every feature carries the instant that it is about, so that no
// latency is left in it.
#ifndef KATESSEL_VAMP_PITCHPLUGIN_H
#define KATESSEL_VAMP_PITCHPLUGIN_H

#include <vamp-sdk/Plugin.h>

#include <katessel/Tracker.hpp>
#include <katessel/Voicing.hpp>
#include <optional>
#include <string>
#include <vector>

#include "recordings/tracks/Notes.h"

class PitchPlugin : public Vamp::Plugin {
public:
    explicit PitchPlugin(float inputSampleRate);

    std::string getIdentifier() const override { return "pitch"; }
    std::string getName() const override { return "KaTessel Pitch"; }
    std::string getDescription() const override;
    std::string getMaker() const override { return "KaTessel"; }
    std::string getCopyright() const override { return ""; }
    int getPluginVersion() const override { return 1; }
    InputDomain getInputDomain() const override { return TimeDomain; }

    ParameterList getParameterDescriptors() const override;
    float getParameter(std::string identifier) const override;
    void setParameter(std::string identifier, float value) override;
    OutputList getOutputDescriptors() const override;

    // Takes one channel, and any block and step. Steps shorter than a block overlap, longer ones leave a gap that
    // counts as silence. Says on standard error why it refuses.
    bool initialise(std::size_t channels, std::size_t stepSize, std::size_t blockSize) override;
    void reset() override;
    FeatureSet process(const float* const* inputBuffers, Vamp::RealTime timestamp) override;
    FeatureSet getRemainingFeatures() override;

private:
    // Runs `work`, which fills what is returned. Nothing may be thrown through the host: what is thrown is said on
    // standard error, and the plug-in gives nothing more until it is initialised again.
    template <class Work>
    FeatureSet guarded(Work work);
    void forget();
    void feed(const float* samples, std::size_t count, FeatureSet& features);
    void add(const KaTessel::Pitch& pitch, bool voiced, FeatureSet& features);
    void add(const katessel::Note& note, FeatureSet& features) const;
    Feature at(double time, float value) const;

    float m_defaultThreshold;
    float m_threshold;
    std::size_t m_step = 0;   // [samples]
    std::size_t m_block = 0;  // [samples]
    std::optional<KaTessel::Tracker> m_tracker;
    KaTessel::VoicingFilter<KaTessel::Pitch> m_voicing;
    katessel::NoteFinder m_notes;
    double m_end = 0.0;                      // [s] where the newest row's 5 ms end
    std::optional<Vamp::RealTime> m_origin;  // of the first block; none before it
    std::vector<float> m_rest;               // what the newest block holds beyond a step
    std::vector<float> m_silence;
    bool m_warned = false;
};

#endif
