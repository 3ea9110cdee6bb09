#include "apps/live/LiveInput.h"

#ifdef KATESSEL_HAS_JACK
#include "apps/live/JackInput.h"
#endif
#ifdef KATESSEL_HAS_RTAUDIO
#include "apps/live/DeviceInput.h"
#endif
#include "recordings/base/Errors.h"

namespace katessel {

namespace {

#ifdef KATESSEL_HAS_JACK

// None where no server runs.
std::vector<std::string> jackPorts() {
    return JackInput::hasServer() ? JackInput::sources() : std::vector<std::string>();
}

std::unique_ptr<LiveInput> openPort(const std::string& name) { return std::make_unique<JackInput>(name); }

bool isJackFirst() { return JackInput::hasServer(); }

#else

std::vector<std::string> jackPorts() { return {}; }

std::unique_ptr<LiveInput> openPort(const std::string& name) {
    fail(kCannotListen, "--port " + name, "a program that was built with JACK", "one that was not");
}

bool isJackFirst() { return false; }

#endif

[[noreturn]] void failWithoutSound() {
#ifdef KATESSEL_HAS_RTAUDIO
    fail(kCannotListen, "sound",
         "a microphone that ALSA, PulseAudio or PipeWire knows, or a running JACK server: plug one in or start one",
         "none");
#else
    fail(kCannotListen, "JACK", "a running server", "none");
#endif
}

#ifdef KATESSEL_HAS_RTAUDIO

std::vector<std::string> deviceNames() {
    std::vector<std::string> names;
    for (const SoundDevice& device : soundDevices()) names.push_back(describe(device));
    return names;
}

std::unique_ptr<LiveInput> openDevice(const std::string& choice) {
    const std::vector<SoundDevice> devices = soundDevices();
    if (devices.empty()) failWithoutSound();
    return std::make_unique<DeviceInput>(chosenDevice(choice, devices));
}

#else

std::vector<std::string> deviceNames() { return {}; }

std::unique_ptr<LiveInput> openDevice(const std::string& choice) {
    if (choice.empty()) failWithoutSound();
    fail(kCannotListen, "--device " + choice, "a program that was built with RtAudio", "one that was not");
}

#endif

}  // namespace

std::unique_ptr<LiveInput> openInput(const LiveChoice& choice) {
    if (!choice.port.empty()) return openPort(choice.port);
    // Who runs a server wants what it connects.
    if (choice.device.empty() && isJackFirst()) return openPort("");
    return openDevice(choice.device);
}

std::vector<std::string> listInputs() {
    std::vector<std::string> lines;
    int number = 0;
    for (const std::string& name : deviceNames()) lines.push_back("--device " + std::to_string(++number) + "  " + name);
    for (const std::string& port : jackPorts()) lines.push_back("--port " + port);
    if (lines.empty()) failWithoutSound();
    return lines;
}

}  // namespace katessel
