// The pitch tracker as an effect for audio workstations: it passes its sound on, tells note, frequency and confidence as
// parameters and plays the notes as MIDI. DPF makes CLAP, LV2 and VST3 of it.
#ifndef KATESSEL_PLUGIN_PITCHPLUGIN_H
#define KATESSEL_PLUGIN_PITCHPLUGIN_H

#include <DistrhoPlugin.hpp>
#include <array>
#include <atomic>
#include <cstdint>
#include <optional>

#include "MidiVoice.h"
#include "PitchStream.h"

namespace katessel::plugin {

enum ParameterIndex {
    kThreshold,
    kLookAhead,
    kMidi,
    kChannel,
    kBendRange,
    kNote,
    kFrequency,
    kCents,
    kConfidence,
    kParameters
};

class PitchPlugin : public DISTRHO_NAMESPACE::Plugin {
public:
    PitchPlugin();

protected:
    const char* getLabel() const override { return "KaTesselPitch"; }
    const char* getDescription() const override;
    const char* getMaker() const override { return "KaTessel"; }
    const char* getLicense() const override { return ""; }
    std::uint32_t getVersion() const override;
    std::int64_t getUniqueId() const override { return d_cconst('K', 'a', 'T', 'p'); }

    void initAudioPort(bool input, std::uint32_t index, DISTRHO_NAMESPACE::AudioPort& port) override;
    void initParameter(std::uint32_t index, DISTRHO_NAMESPACE::Parameter& parameter) override;
    float getParameterValue(std::uint32_t index) const override { return m_values[index]; }
    void setParameterValue(std::uint32_t index, float value) override { m_values[index] = value; }

    void sampleRateChanged(double) override { prepare(); }
    void activate() override;
    void run(const float** inputs, float** outputs, std::uint32_t frames) override;

private:
    int valueOf(ParameterIndex index) const;
    void prepare();
    void restart();
    void follow();
    void show(const NotedRow& row);
    bool send(std::uint32_t frame, int status, int first, int second);

    std::array<std::atomic<float>, kParameters> m_values;  // hosts ask and set from any thread
    std::optional<PitchStream> m_stream;  // none without a model: the sound goes through and that is all
    MidiVoice m_voice;
    int m_threshold = -1, m_lookAhead = -1;  // [%] [ms] that the stream has
    std::optional<MidiSettings> m_settings;  // that the voice has; none: it begins anew
};

}  // namespace katessel::plugin

#endif
