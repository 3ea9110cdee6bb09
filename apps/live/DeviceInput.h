// One microphone, or whatever else the system records from: through RtAudio, of ALSA or PulseAudio (PipeWire is both).
#pragma once

#include <RtAudio.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "apps/live/LiveInput.h"

namespace katessel {

struct SoundDevice {
    RtAudio::Api system = RtAudio::UNSPECIFIED;
    unsigned number = 0;  // in that system
    std::string name;
    int rate = 0;  // [Hz] that it prefers
    bool isDefault = false;
};

// All that can be recorded from, those of sound servers first.
std::vector<SoundDevice> soundDevices();

// For a list: name, system, rate.
std::string describe(const SoundDevice& device);

// By its number from 1 on, its name, or a part of its name that no other has; the default one for an empty text. Fails where
// that is none.
const SoundDevice& chosenDevice(const std::string& choice, const std::vector<SoundDevice>& devices);

class DeviceInput final : public LiveInput {
public:
    // Listens to its first channel. Fails when it cannot be opened.
    explicit DeviceInput(const SoundDevice& device);
    ~DeviceInput() override;

    int period() const override { return static_cast<int>(m_period); }
    int sourceLatency() const override { return m_latency; }
    std::uint32_t now() const override;

private:
    static int onBlock(void*, void* samples, unsigned count, double, RtAudioStreamStatus status, void* self);
    static void onError(RtAudioError::Type type, const std::string& text);

    RtAudio m_audio;
    unsigned m_period = 0;  // [samples]
    int m_latency = 0;      // [samples] that the system tells of
    // Of the thread that brings blocks.
    std::uint32_t m_clock = 0;  // [samples] of the next block
    std::int64_t m_before = 0;  // [ns] when the last one came; 0: none did
    // The clock as a time: when its 0 was, by the last block [ns].
    std::atomic<std::int64_t> m_zero = 0;
};

}  // namespace katessel
