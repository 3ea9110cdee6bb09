// A host of one CLAP plug-in, as strict as the format allows: it asks for extensions, counts what it is asked, keeps what
// comes out, and takes only as many events as it likes.
#pragma once

#include <clap/entry.h>
#include <clap/ext/audio-ports.h>
#include <clap/ext/latency.h>
#include <clap/ext/note-ports.h>
#include <clap/ext/params.h>
#include <clap/ext/state.h>
#include <clap/plugin-factory.h>
#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

namespace KaTessel::tests {

struct MidiMessage {
    long sample = 0;  // since the host began
    std::array<int, 3> bytes = {};

    int kind() const { return bytes[0] & 0xf0; }
    int channel() const { return bytes[0] & 0x0f; }
    int bend() const { return (bytes[2] << 7 | bytes[1]) - 8192; }
    bool operator==(const MidiMessage&) const = default;
};

// The file, loaded once.
class ClapFile {
public:
    explicit ClapFile(const std::string& path) : m_handle(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
        if (m_handle == nullptr) throw std::runtime_error(dlerror());
        m_entry = static_cast<const clap_plugin_entry_t*>(dlsym(m_handle, "clap_entry"));
        if (m_entry == nullptr || !m_entry->init(path.c_str())) throw std::runtime_error("no entry in " + path);
    }
    ~ClapFile() {
        m_entry->deinit();
        dlclose(m_handle);
    }
    ClapFile(const ClapFile&) = delete;
    ClapFile& operator=(const ClapFile&) = delete;

    const clap_plugin_factory_t* factory() const {
        return static_cast<const clap_plugin_factory_t*>(m_entry->get_factory(CLAP_PLUGIN_FACTORY_ID));
    }

private:
    void* m_handle;
    const clap_plugin_entry_t* m_entry = nullptr;
};

class ClapHost {
public:
    explicit ClapHost(const ClapFile& file) {
        m_host = {CLAP_VERSION,
                  this,
                  "tests",
                  "",
                  "",
                  "1",
                  &ClapHost::extension,
                  &ClapHost::onRestart,
                  &ClapHost::onRequest,
                  &ClapHost::onRequest};
        m_plugin = file.factory()->create_plugin(file.factory(), &m_host, "katessel.pitch");
        if (m_plugin == nullptr || !m_plugin->init(m_plugin)) throw std::runtime_error("no plug-in");
        m_midi.reserve(100000);
    }
    ~ClapHost() {
        stop();
        m_plugin->destroy(m_plugin);
    }
    ClapHost(const ClapHost&) = delete;
    ClapHost& operator=(const ClapHost&) = delete;

    template <class Extension>
    const Extension& ask(const char* name) const {
        const void* const extension = m_plugin->get_extension(m_plugin, name);
        if (extension == nullptr) throw std::runtime_error(std::string("no extension ") + name);
        return *static_cast<const Extension*>(extension);
    }
    const clap_plugin_t* plugin() const { return m_plugin; }

    void start(int rate) {
        stop();
        m_plugin->activate(m_plugin, rate, 1, 4096);
        m_plugin->start_processing(m_plugin);
        m_isActive = true;
    }
    void stop() {
        if (!m_isActive) return;
        m_plugin->stop_processing(m_plugin);
        m_plugin->deactivate(m_plugin);
        m_isActive = false;
    }

    clap_id idOf(const std::string& symbol) const {
        const auto& params = ask<clap_plugin_params_t>(CLAP_EXT_PARAMS);
        for (std::uint32_t i = 0; i < params.count(m_plugin); ++i) {
            clap_param_info_t info;
            if (params.get_info(m_plugin, i, &info) && symbol == info.module) return info.id;
        }
        throw std::runtime_error("no parameter " + symbol);
    }
    double valueOf(const std::string& symbol) const {
        double value = 0.0;
        ask<clap_plugin_params_t>(CLAP_EXT_PARAMS).get_value(m_plugin, idOf(symbol), &value);
        return value;
    }
    int latency() const { return static_cast<int>(ask<clap_plugin_latency_t>(CLAP_EXT_LATENCY).get(m_plugin)); }

    // Takes effect with the next block.
    void set(const std::string& symbol, double value) {
        clap_event_param_value_t event = {};
        event.header = {sizeof event, 0, CLAP_CORE_EVENT_SPACE_ID, CLAP_EVENT_PARAM_VALUE, 0};
        event.param_id = idOf(symbol);
        event.value = value;
        m_changes.push_back(event);
    }

    // One block, in place. Allocates nothing as long as few changes of parameters come out.
    bool process(float* samples, std::uint32_t count) {
        float* channels[] = {samples};
        clap_audio_buffer_t in = {}, out = {};
        in.data32 = out.data32 = channels;
        in.channel_count = out.channel_count = 1;
        const clap_input_events_t changes = {this, &ClapHost::size, &ClapHost::get};
        const clap_output_events_t events = {this, &ClapHost::push};
        clap_process_t block = {};
        block.steady_time = m_passed;
        block.frames_count = count;
        block.audio_inputs = &in;
        block.audio_outputs = &out;
        block.audio_inputs_count = block.audio_outputs_count = 1;
        block.in_events = &changes;
        block.out_events = &events;
        m_count = count;
        m_newestTime = 0;
        const bool isDone = m_plugin->process(m_plugin, &block) == CLAP_PROCESS_CONTINUE;
        m_passed += count;
        m_changes.clear();
        return isDone;
    }
    // A whole sound in blocks of at most `size`.
    std::vector<float> play(std::vector<float> sound, std::size_t size) {
        for (std::size_t at = 0; at < sound.size(); at += size)
            if (!process(sound.data() + at, static_cast<std::uint32_t>(std::min(size, sound.size() - at))))
                throw std::runtime_error("not processed");
        return sound;
    }

    const std::vector<MidiMessage>& midi() const { return m_midi; }
    std::vector<MidiMessage> midi(int kind) const {
        std::vector<MidiMessage> some;
        std::copy_if(m_midi.begin(), m_midi.end(), std::back_inserter(some),
                     [&](const auto& m) { return m.kind() == kind; });
        return some;
    }

    bool takesEvents = true;
    int restarts = 0;   // asked for
    int disorders = 0;  // events outside their block, or before one that came earlier

private:
    static ClapHost& of(const clap_host_t* host) { return *static_cast<ClapHost*>(host->host_data); }
    static const void* extension(const clap_host_t*, const char* name) {
        static const clap_host_latency_t latency = {[](const clap_host_t*) {}};
        static const clap_host_params_t params = {[](const clap_host_t*, clap_param_rescan_flags) {},
                                                  [](const clap_host_t*, clap_id, clap_param_clear_flags) {},
                                                  [](const clap_host_t*) {}};
        if (std::strcmp(name, CLAP_EXT_LATENCY) == 0) return &latency;
        return std::strcmp(name, CLAP_EXT_PARAMS) == 0 ? &params : nullptr;
    }
    static void onRestart(const clap_host_t* host) { ++of(host).restarts; }
    static void onRequest(const clap_host_t*) {}

    static std::uint32_t size(const clap_input_events_t* list) {
        return static_cast<std::uint32_t>(static_cast<ClapHost*>(list->ctx)->m_changes.size());
    }
    static const clap_event_header_t* get(const clap_input_events_t* list, std::uint32_t index) {
        return &static_cast<ClapHost*>(list->ctx)->m_changes[index].header;
    }
    static bool push(const clap_output_events_t* list, const clap_event_header_t* event) {
        ClapHost& host = *static_cast<ClapHost*>(list->ctx);
        if (!host.takesEvents) return false;
        if (event->time >= host.m_count || event->time < host.m_newestTime) ++host.disorders;
        host.m_newestTime = event->time;
        if (event->type != CLAP_EVENT_MIDI) return true;
        const auto& data = reinterpret_cast<const clap_event_midi_t*>(event)->data;
        host.m_midi.push_back({host.m_passed + static_cast<long>(event->time), {data[0], data[1], data[2]}});
        return true;
    }

    clap_host_t m_host = {};
    const clap_plugin_t* m_plugin = nullptr;
    bool m_isActive = false;
    long m_passed = 0;  // samples
    std::uint32_t m_count = 0, m_newestTime = 0;
    std::vector<clap_event_param_value_t> m_changes;
    std::vector<MidiMessage> m_midi;
};

}  // namespace KaTessel::tests
