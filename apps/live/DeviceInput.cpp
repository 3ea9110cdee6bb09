#include "apps/live/DeviceInput.h"

#ifdef KATESSEL_HAS_ALSA
#include <alsa/asoundlib.h>
#endif

#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <exception>

#include "recordings/base/Errors.h"

namespace katessel {

namespace {

constexpr int kUsualRate = 48000;       // [Hz] where a device prefers none
constexpr int kPeriodsPerSecond = 200;  // a frame's 5 ms; systems take what they can instead
constexpr unsigned kPeriodsKept = 8;    // by a system while nobody has the time to fetch them
constexpr int kPriority = 10;           // of the thread that fetches them, above all that is not real time

// What is broken has no place in RtAudio for whom it concerns; there is one input in a program.
std::atomic<bool> isBroken = false;

std::int64_t nanoseconds() { return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1); }

#ifdef KATESSEL_HAS_ALSA
void ignoreMessage(const char*, int, const char*, int, const char*, ...) {}
#endif

// ALSA would print what is missing in many words of its own.
void silenceSystems() {
#ifdef KATESSEL_HAS_ALSA
    snd_lib_error_set_handler(&ignoreMessage);
#endif
}

void addDevices(RtAudio::Api system, std::vector<SoundDevice>& devices) {
    RtAudio audio(system);
    audio.showWarnings(false);
    const unsigned count = audio.getDeviceCount();
    for (unsigned number = 0; number < count; ++number) {
        const RtAudio::DeviceInfo info = audio.getDeviceInfo(number);
        if (!info.probed || info.inputChannels == 0) continue;
        const int rate = static_cast<int>(info.preferredSampleRate);
        devices.push_back({system, number, info.name, rate > 0 ? rate : kUsualRate, info.isDefaultInput});
    }
}

std::string listed(const std::vector<SoundDevice>& devices) {
    std::string text = "1 to " + std::to_string(devices.size());
    for (const SoundDevice& device : devices) text += ", " + device.name;
    return text;
}

}  // namespace

std::vector<SoundDevice> soundDevices() {
    silenceSystems();
    std::vector<RtAudio::Api> systems;
    RtAudio::getCompiledApi(systems);
    std::vector<SoundDevice> devices;
    for (const RtAudio::Api system : systems) {
        // Ports of JACK are listened to without another layer.
        if (system == RtAudio::UNIX_JACK || system == RtAudio::RTAUDIO_DUMMY) continue;
        try {
            addDevices(system, devices);
        } catch (const RtAudioError&) {
            // A system that is not there has no devices.
        }
    }
    return devices;
}

std::string describe(const SoundDevice& device) {
    return device.name + " (" + RtAudio::getApiDisplayName(device.system) + ", " + std::to_string(device.rate) + " Hz" +
           (device.isDefault ? ", default)" : ")");
}

const SoundDevice& chosenDevice(const std::string& choice, const std::vector<SoundDevice>& devices) {
    if (choice.empty()) {
        const auto isDefault = [](const SoundDevice& device) { return device.isDefault; };
        const auto found = std::find_if(devices.begin(), devices.end(), isDefault);
        return found != devices.end() ? *found : devices.front();
    }
    for (std::size_t i = 0; i < devices.size(); ++i)
        if (choice == std::to_string(i + 1)) return devices[i];
    const SoundDevice* found = nullptr;
    int matches = 0;
    for (const SoundDevice& device : devices) {
        if (device.name == choice) return device;
        if (device.name.find(choice) == std::string::npos) continue;
        ++matches;
        found = &device;
    }
    if (matches != 1)
        fail(kCannotListen, "--device", "one of " + listed(devices),
             matches == 0 ? choice : choice + ", which " + std::to_string(matches) + " have");
    return *found;
}

DeviceInput::DeviceInput(const SoundDevice& device) : m_audio(device.system) {
    m_source = device.name;
    m_rate = device.rate;
    m_period = static_cast<unsigned>(device.rate / kPeriodsPerSecond);
    m_audio.showWarnings(false);
    isBroken = false;
    RtAudio::StreamParameters input;
    input.deviceId = device.number;
    input.nChannels = 1;
    RtAudio::StreamOptions options;
    options.numberOfBuffers = kPeriodsKept;
    options.streamName = "katessel";
    try {
        m_audio.openStream(nullptr, &input, RTAUDIO_FLOAT32, static_cast<unsigned>(device.rate), &m_period, &onBlock,
                           this, &options, &onError);
        m_latency = static_cast<int>(m_audio.getStreamLatency());
        m_audio.startStream();
    } catch (const RtAudioError& error) {
        fail(kCannotListen, device.name, "a device that records", error.getMessage());
    }
    if (!m_audio.isStreamRunning()) fail(kCannotListen, device.name, "a device that records", "one that does not");
}

DeviceInput::~DeviceInput() {
    if (m_audio.isStreamOpen()) m_audio.closeStream();
}

// The system's thread: nothing here waits or allocates.
int DeviceInput::onBlock(void*, void* samples, unsigned count, double, RtAudioStreamStatus status, void* self) {
    DeviceInput& input = *static_cast<DeviceInput*>(self);
    if (isBroken) {
        input.ended();
        return 2;
    }
    const std::int64_t time = nanoseconds();
    const double samplesPerNanosecond = 1e-9 * input.m_rate;
    if (input.m_before == 0) {
        // RtAudio, asked for that, would print whether it may. What comes first was not recorded: it calls before it reads.
        const sched_param urgent = {.sched_priority = kPriority};
        pthread_setschedparam(pthread_self(), SCHED_RR, &urgent);
        input.m_before = time;
        return 0;
    }
    if ((status & RTAUDIO_INPUT_OVERFLOW) != 0) {
        ++input.m_xruns;
        const double passed = static_cast<double>(time - input.m_before) * samplesPerNanosecond;
        if (passed > count) input.m_clock += static_cast<std::uint32_t>(std::lround(passed)) - count;
    }
    const LiveBlock block = {input.m_clock, count, input.m_rate};
    input.m_before = time;
    input.m_clock += count;
    // As long ago as its samples last, whose number begins again after 2^32.
    input.m_zero = time - static_cast<std::int64_t>(input.m_clock / samplesPerNanosecond);
    input.arrived(block, static_cast<const float*>(samples));
    return 0;
}

void DeviceInput::onError(RtAudioError::Type type, const std::string& text) {
    // What it warns of where blocks were lost is no end, what it warns of where none can be read is.
    if (type != RtAudioError::WARNING || text.find("read error") != std::string::npos) isBroken = true;
}

std::uint32_t DeviceInput::now() const {
    const std::int64_t passed = nanoseconds() - m_zero;
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(static_cast<double>(passed) * 1e-9 * m_rate));
}

}  // namespace katessel
