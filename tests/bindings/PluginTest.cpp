// KaTessel Pitch as hosts meet it: the CLAP in every respect, the LV2 and the VST3 in what differs.
#include <gtest/gtest.h>
#include <lv2/atom-util.h>
#include <lv2/buf-size.h>
#include <lv2/lv2.h>
#include <lv2/options.h>
#include <lv2/urid.h>
#include <travesty/factory.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <katessel/Tracker.hpp>
#include <katessel/Voicing.hpp>
#include <limits>
#include <map>

#include "ClapHost.h"
#include "Sounds.h"
#include "recordings/tracks/Midi.h"
#include "recordings/tracks/Notes.h"
#include "support/WithoutSystem.h"

namespace {

std::atomic<long> allocations{0};

#ifdef __SANITIZE_ADDRESS__
constexpr bool kCounts = false;  // the functions are the sanitizer's
#else
constexpr bool kCounts = true;
#endif

}  // namespace

#ifndef __SANITIZE_ADDRESS__
// The plug-in's calls end here, too: those of the program go before the C library's.
extern "C" {
void* __libc_malloc(std::size_t n);
void* __libc_calloc(std::size_t count, std::size_t n);
void* __libc_realloc(void* p, std::size_t n);
void* malloc(std::size_t n) { return ++allocations, __libc_malloc(n); }
void* calloc(std::size_t count, std::size_t n) { return ++allocations, __libc_calloc(count, n); }
void* realloc(void* p, std::size_t n) { return ++allocations, __libc_realloc(p, n); }
}
#endif

namespace KaTessel::tests {
namespace {

using katessel::Note;
using katessel::midi::kBend;
using katessel::midi::kControl;
using katessel::midi::kNoteOff;
using katessel::midi::kNoteOn;

const std::string kFolder = KATESSEL_PLUGIN_FOLDER;

const ClapFile& clap() {
    static const ClapFile file(kFolder + "/clap/KaTesselPitch.clap");
    return file;
}

std::vector<float> joined(std::initializer_list<std::vector<float>> parts) {
    std::vector<float> all;
    for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

std::vector<float> silence(int rate, double seconds) {
    return std::vector<float>(static_cast<std::size_t>(rate * seconds), 0.0f);
}

// A3, B3, a pause, and C4 that rises by a quarter tone; then time for all that waits.
std::vector<float> melody(int rate) {
    return joined({silence(rate, 0.1), tone(rate, 0.3, 220.0), tone(rate, 0.3, 246.94), silence(rate, 0.2),
                   glide(rate, 0.3, 261.63, 269.29), silence(rate, 1.3)});
}

// As long as before; nothing comes first.
std::vector<float> later(const std::vector<float>& sound, int samples) {
    std::vector<float> all = joined({std::vector<float>(static_cast<std::size_t>(samples)), sound});
    all.resize(sound.size());
    return all;
}

std::vector<Note> notesOfFiles(int rate, const std::vector<float>& sound, float threshold) {
    katessel::PitchTrack rows;
    VoicingFilter<Pitch> voicing({threshold, usualVoicing(Form::live)});
    Tracker(rate).process(sound, [&](const Pitch& pitch) {
        voicing.add(pitch, pitch.confidence, [&](const Pitch& row, bool voiced) {
            rows.push_back({row.time, voiced ? row.frequency : 0.0f, row.confidence});
        });
    });
    return katessel::findNotes(rows, static_cast<double>(sound.size()) / rate);
}

TEST(Plugin, SaysWhatItIs) {
    const clap_plugin_factory_t& factory = *clap().factory();
    ASSERT_EQ(factory.get_plugin_count(&factory), 1u);
    const clap_plugin_descriptor_t& descriptor = *factory.get_plugin_descriptor(&factory, 0);
    EXPECT_STREQ(descriptor.id, "katessel.pitch");
    EXPECT_STREQ(descriptor.name, "KaTessel Pitch");

    const ClapHost host(clap());
    const auto& audio = host.ask<clap_plugin_audio_ports_t>(CLAP_EXT_AUDIO_PORTS);
    for (const bool isInput : {true, false}) {
        ASSERT_EQ(audio.count(host.plugin(), isInput), 1u);
        clap_audio_port_info_t port;
        ASSERT_TRUE(audio.get(host.plugin(), 0, isInput, &port));
        EXPECT_EQ(port.channel_count, 1u);
    }
    const auto& notes = host.ask<clap_plugin_note_ports_t>(CLAP_EXT_NOTE_PORTS);
    EXPECT_EQ(notes.count(host.plugin(), true), 0u);
    EXPECT_EQ(notes.count(host.plugin(), false), 1u);

    const float threshold = modelThreshold(defaultModel(Form::live));
    const std::map<std::string, double> usual = {{"threshold", std::round(100.0f * threshold)},
                                                 {"look_ahead", 100},
                                                 {"midi", 1},
                                                 {"channel", 1},
                                                 {"bend_range", 2},
                                                 {"note", -1},
                                                 {"frequency", 0},
                                                 {"cents", 0},
                                                 {"confidence", 0}};
    const auto& params = host.ask<clap_plugin_params_t>(CLAP_EXT_PARAMS);
    ASSERT_EQ(params.count(host.plugin()), usual.size());
    for (const auto& [symbol, value] : usual) {
        clap_param_info_t info;
        ASSERT_TRUE(params.get_info(host.plugin(), host.idOf(symbol), &info));
        EXPECT_EQ(info.default_value, value) << symbol;
        EXPECT_EQ(host.valueOf(symbol), value) << symbol;
        const bool isOutput = std::string("note frequency cents confidence").find(symbol) != std::string::npos;
        EXPECT_EQ((info.flags & CLAP_PARAM_IS_READONLY) != 0, isOutput) << symbol;
    }
    char text[32];
    ASSERT_TRUE(params.value_to_text(host.plugin(), host.idOf("note"), 69.0, text, sizeof text));
    EXPECT_STREQ(text, "A4");
}

// And the sound comes out as it went in, later by what is reported.
TEST(Plugin, BlocksChangeNothing) {
    for (const int rate : {44100, 48000, 96000, 192000}) {
        const std::vector<float> sound = melody(rate);
        std::vector<MidiMessage> expected;
        for (const std::size_t size : {4096u, 1u, 7u, 64u, 441u, 1000u}) {
            if (size == 1 && (rate > 48000 || !kCounts)) continue;  // takes long
            SCOPED_TRACE(std::to_string(rate) + " Hz, blocks of " + std::to_string(size));
            ClapHost host(clap());
            host.start(rate);
            EXPECT_EQ(host.play(sound, size), later(sound, host.latency()));
            EXPECT_EQ(host.latency(), Tracker(rate).latency() + rate / 10);
            EXPECT_EQ(host.disorders, 0);
            if (size == 4096) expected = host.midi();
            EXPECT_TRUE(host.midi() == expected);
        }
        EXPECT_GT(expected.size(), 50u);
    }
}

// Looking ahead as far as files do, the notes are those of files, at their samples.
TEST(Plugin, NotesAreThoseOfFiles) {
    for (const auto& [rate, threshold] : {std::pair(44100, 40), {48000, 40}, {96000, 40}, {48000, 95}}) {
        const std::vector<float> sound = melody(rate);
        const std::vector<Note> notes = notesOfFiles(rate, sound, 0.01f * static_cast<float>(threshold));
        ASSERT_GE(notes.size(), threshold == 40 ? 3u : 1u);
        ClapHost host(clap());
        host.set("look_ahead", 1000);
        host.set("threshold", threshold);
        host.start(rate);
        host.play(sound, 512);
        const std::vector<MidiMessage> begins = host.midi(kNoteOn), ends = host.midi(kNoteOff);
        ASSERT_EQ(begins.size(), notes.size());
        ASSERT_EQ(ends.size(), notes.size());
        const auto sampleOf = [&, rate = rate](double time) {
            return std::lround(std::ceil(time * rate - 1e-6)) + host.latency();
        };
        for (std::size_t i = 0; i < notes.size(); ++i) {
            EXPECT_EQ(begins[i].bytes, (std::array<int, 3>{kNoteOn, notes[i].number, 96}));
            EXPECT_EQ(begins[i].sample, sampleOf(notes[i].start));
            EXPECT_EQ(ends[i].bytes[1], notes[i].number);
            EXPECT_EQ(ends[i].sample, sampleOf(notes[i].end));
        }
    }
}

// Note and bend together are the pitch that was tracked, at the place of its row, and so are the parameters.
TEST(Plugin, BendsFollowThePitch) {
    constexpr int kRate = 48000, kRange = 12, kHop = 240;
    std::vector<float> sound = glide(kRate, 1.5, 200.0, 300.0);
    std::vector<Pitch> rows;
    Tracker(kRate).process(sound, [&](const Pitch& pitch) { rows.push_back(pitch); });
    ClapHost host(clap());
    host.set("bend_range", kRange);
    host.start(kRate);
    int note = -1, count = 0;
    double bend = 0.0;
    std::size_t heard = 0;
    for (std::size_t at = 0; at + kHop <= sound.size(); at += kHop) {
        host.process(sound.data() + at, kHop);
        for (; heard < host.midi().size(); ++heard) {
            const MidiMessage& message = host.midi()[heard];
            if (message.kind() == kBend) bend = kRange * message.bend() / 8192.0;
            if (message.kind() == kNoteOn) note = message.bytes[1];
        }
        if (note < 0) continue;
        const Pitch& row = rows.at((at + kHop - 1 - static_cast<std::size_t>(host.latency())) / kHop);
        const double pitch = katessel::midiNote(row.frequency);
        ASSERT_NEAR(note + bend, pitch, 0.51 * kRange / 8192) << row.time;
        ASSERT_EQ(host.valueOf("frequency"), row.frequency);
        ASSERT_EQ(host.valueOf("confidence"), row.confidence);
        ASSERT_EQ(host.valueOf("note"), note);
        ASSERT_NEAR(host.valueOf("cents"), 100.0 * (pitch - note), 1e-3);
        ++count;
    }
    EXPECT_GT(count, 200);
    EXPECT_GT(host.midi(kNoteOn).size(), 5u);
    std::vector<std::array<int, 2>> controls;
    for (const MidiMessage& message : host.midi(kControl)) controls.push_back({message.bytes[1], message.bytes[2]});
    EXPECT_EQ(controls, (std::vector<std::array<int, 2>>{{101, 0}, {100, 0}, {6, kRange}, {38, 0}}));
}

// What begins ends: on its own channel, when MIDI is switched off, and where a host had no room for the end.
TEST(Plugin, NoNoteStaysBehind) {
    constexpr int kRate = 48000;
    std::vector<float> sound = tone(kRate, 2.0, 220.0);
    ClapHost host(clap());
    host.start(kRate);
    std::size_t at = 0;
    const auto play = [&](double seconds) {
        const std::size_t end = at + static_cast<std::size_t>(kRate * seconds);
        for (; at < end; at += 480) host.process(sound.data() + at, 480);
    };
    play(0.4);
    host.set("channel", 5);
    play(0.4);
    host.set("midi", 0);
    play(0.2);
    host.set("midi", 1);
    host.set("bend_range", 0);
    play(0.2);
    const std::size_t bends = host.midi(kBend).size();
    play(0.2);
    EXPECT_EQ(host.midi(kBend).size(), bends) << "without a range";
    std::vector<int> status;
    for (const MidiMessage& message : host.midi())
        if (message.kind() == kNoteOn || message.kind() == kNoteOff) status.push_back(message.bytes[0]);
    EXPECT_EQ(status, (std::vector<int>{0x90, 0x80, 0x94, 0x84, 0x94}));

    host.takesEvents = false;
    host.play(silence(kRate, 0.5), 480);
    EXPECT_EQ(host.midi(kNoteOff).size(), 2u);
    host.takesEvents = true;
    host.play(silence(kRate, 0.1), 480);
    ASSERT_EQ(host.midi(kNoteOff).size(), 3u);
    EXPECT_EQ(host.midi().back().bytes[0], 0x84);
}

TEST(Plugin, LookAheadIsLatency) {
    constexpr int kRate = 48000;
    std::vector<float> sound = melody(kRate);
    ClapHost host(clap());
    host.start(kRate);
    host.play(std::vector<float>(sound.begin(), sound.begin() + 24000), 480);
    const int before = host.latency(), restarts = host.restarts;
    EXPECT_EQ(host.midi(kNoteOn).size(), 1u);
    host.set("look_ahead", 20);
    std::vector<float> block(480);
    host.process(block.data(), 480);
    EXPECT_EQ(host.midi(kNoteOff).size(), 1u) << "what sounded ends";
    EXPECT_EQ(before - host.latency(), kRate * 80 / 1000);
    EXPECT_EQ(host.restarts, restarts + 1);
    host.start(kRate);  // as hosts do then: all begins anew
    EXPECT_EQ(host.play(sound, 480), later(sound, host.latency()));
}

// What is no number is silence to the analysis and nothing but itself in the sound; everything after it is as always.
TEST(Plugin, SurvivesWhatIsNoNumber) {
    std::vector<float> sound = melody(48000), silenced = sound;
    for (const std::size_t at : {20000u, 20001u, 40000u}) {
        sound[at] = at == 20001 ? 1e30f : std::numeric_limits<float>::quiet_NaN();
        silenced[at] = 0.0f;
    }
    ClapHost host(clap()), other(clap());
    host.start(48000);
    other.start(48000);
    const std::vector<float> heard = host.play(sound, 512);
    other.play(silenced, 512);
    EXPECT_TRUE(host.midi() == other.midi());
    EXPECT_TRUE(std::isnan(heard[20000 + static_cast<std::size_t>(host.latency())]));
}

TEST(Plugin, StateComesBack) {
    const std::map<std::string, double> values = {
        {"threshold", 37}, {"look_ahead", 45}, {"midi", 0}, {"channel", 16}, {"bend_range", 48}};
    std::string saved;
    {
        ClapHost host(clap());
        for (const auto& [symbol, value] : values) host.set(symbol, value);
        host.start(48000);
        float sample = 0.0f;
        host.process(&sample, 1);
        const clap_ostream_t out = {
            &saved, [](const clap_ostream_t* stream, const void* bytes, std::uint64_t n) {
                static_cast<std::string*>(stream->ctx)->append(static_cast<const char*>(bytes), n);
                return static_cast<std::int64_t>(n);
            }};
        ASSERT_TRUE(host.ask<clap_plugin_state_t>(CLAP_EXT_STATE).save(host.plugin(), &out));
    }
    ClapHost host(clap());
    const clap_istream_t in = {&saved, [](const clap_istream_t* stream, void* bytes, std::uint64_t n) {
                                   std::string& rest = *static_cast<std::string*>(stream->ctx);
                                   const std::size_t count = std::min<std::size_t>({n, rest.size(), 100});
                                   rest.copy(static_cast<char*>(bytes), count);
                                   rest.erase(0, count);
                                   return static_cast<std::int64_t>(count);
                               }};
    ASSERT_TRUE(host.ask<clap_plugin_state_t>(CLAP_EXT_STATE).load(host.plugin(), &in));
    for (const auto& [symbol, value] : values) EXPECT_EQ(host.valueOf(symbol), value) << symbol;
    host.start(48000);
    EXPECT_EQ(host.latency(), Tracker(48000).latency() + 45 * 48);
}

// An audio thread must never wait: no allocation and no call of the system, whatever the sound and the parameters do.
TEST(Plugin, ProcessesWithoutTheSystem) {
    const long before = allocations;
    ClapHost host(clap());
    for (const char* symbol : {"look_ahead", "threshold", "midi"}) host.set(symbol, 50);  // room for three
    host.start(44100);
    std::vector<float> sound = melody(44100);
    float sample = 0.0f;
    host.process(&sample, 1);
    EXPECT_EQ(allocations > before, kCounts) << "those that there are, are seen";
    const auto work = [&] {
        for (std::size_t at = 0; at + 441 <= sound.size(); at += 441) {
            if (at == 44100) host.set("look_ahead", 30), host.set("channel", 2);
            host.process(sound.data() + at, 441);
        }
    };
    const long newest = allocations;
    EXPECT_EQ(statusWithoutSystem(work), 0);
    work();
    EXPECT_EQ(allocations - newest, 0);
    EXPECT_GE(host.midi(kNoteOn).size(), 3u);
}

TEST(Plugin, WithoutAModelTheSoundGoesThrough) {
    setenv("KATESSEL_MODEL", "/no/such/model", 1);
    ClapHost host(clap());
    host.start(48000);
    unsetenv("KATESSEL_MODEL");
    const std::vector<float> sound = tone(48000, 0.5, 220.0);
    EXPECT_EQ(host.play(sound, 480), sound);
    EXPECT_EQ(host.latency(), 0);
    EXPECT_TRUE(host.midi().empty());
}

TEST(Plugin, Lv2PlaysTheSame) {
    const std::vector<float> sound = melody(48000);
    ClapHost clapHost(clap());
    clapHost.start(48000);
    const std::vector<float> expected = clapHost.play(sound, 256);

    const std::string bundle = kFolder + "/lv2/KaTesselPitch.lv2/";
    void* const file = dlopen((bundle + "KaTesselPitch.so").c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(file, nullptr) << dlerror();
    const auto describe = reinterpret_cast<LV2_Descriptor_Function>(dlsym(file, "lv2_descriptor"));
    const LV2_Descriptor& plugin = *describe(0);
    EXPECT_STREQ(plugin.URI, "urn:katessel:pitch");

    std::map<std::string, LV2_URID> names;
    LV2_URID_Map map = {&names, [](void* known, const char* name) {
                            auto& all = *static_cast<std::map<std::string, LV2_URID>*>(known);
                            return all.try_emplace(name, static_cast<LV2_URID>(all.size() + 1)).first->second;
                        }};
    const auto idOf = [&](const char* name) { return map.map(map.handle, name); };
    const std::int32_t block = 256;
    const LV2_Options_Option options[] = {
        {LV2_OPTIONS_INSTANCE, 0, idOf(LV2_BUF_SIZE__maxBlockLength), sizeof block, idOf(LV2_ATOM__Int), &block}, {}};
    const LV2_Feature mapping = {LV2_URID__map, &map};
    const LV2_Feature choices = {LV2_OPTIONS__options, const_cast<LV2_Options_Option*>(options)};
    const LV2_Feature* const features[] = {&mapping, &choices, nullptr};
    const LV2_Handle handle = plugin.instantiate(&plugin, 48000.0, bundle.c_str(), features);
    ASSERT_NE(handle, nullptr);

    enum Port { kIn, kOut, kEvents, kLatency, kFirstParameter };
    std::vector<float> samples = sound;
    float latency = 0.0f;
    std::array<float, 9> parameters = {static_cast<float>(clapHost.valueOf("threshold")), 100, 1, 1, 2};
    alignas(8) std::array<std::uint8_t, 8192> events;
    plugin.connect_port(handle, kLatency, &latency);
    plugin.connect_port(handle, kEvents, events.data());
    for (std::uint32_t i = 0; i < parameters.size(); ++i)
        plugin.connect_port(handle, kFirstParameter + i, &parameters[i]);
    plugin.activate(handle);
    std::vector<MidiMessage> midi;
    for (std::size_t at = 0; at < samples.size(); at += 256) {
        auto& sequence = *reinterpret_cast<LV2_Atom_Sequence*>(events.data());
        sequence.atom = {static_cast<std::uint32_t>(events.size() - sizeof(LV2_Atom)), idOf(LV2_ATOM__Chunk)};
        plugin.connect_port(handle, kIn, samples.data() + at);
        plugin.connect_port(handle, kOut, samples.data() + at);
        plugin.run(handle, static_cast<std::uint32_t>(std::min<std::size_t>(256, samples.size() - at)));
        if (sequence.atom.type != idOf(LV2_ATOM__Sequence)) continue;
        LV2_ATOM_SEQUENCE_FOREACH(&sequence, event) {
            const auto* const bytes = static_cast<const std::uint8_t*>(LV2_ATOM_BODY_CONST(&event->body));
            midi.push_back(
                {static_cast<long>(at) + static_cast<long>(event->time.frames), {bytes[0], bytes[1], bytes[2]}});
        }
    }
    EXPECT_EQ(samples, expected);
    EXPECT_EQ(midi, clapHost.midi());
    EXPECT_EQ(latency, static_cast<float>(clapHost.latency()));
    plugin.cleanup(handle);
    dlclose(file);
}

TEST(Plugin, Vst3ListsItsClass) {
    const std::string path =
        kFolder + "/vst3/KaTesselPitch.vst3/Contents/" KATESSEL_PROCESSOR "-linux/KaTesselPitch.so";
    void* const file = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(file, nullptr) << dlerror();
    ASSERT_TRUE(reinterpret_cast<bool (*)(void*)>(dlsym(file, "ModuleEntry"))(file));
    auto** const factory =
        static_cast<v3_plugin_factory**>(reinterpret_cast<void* (*)()>(dlsym(file, "GetPluginFactory"))());
    v3_class_info info = {};
    ASSERT_EQ(v3_cpp_obj(factory)->num_classes(factory), 1);
    ASSERT_EQ(v3_cpp_obj(factory)->get_class_info(factory, 0, &info), V3_OK);
    EXPECT_STREQ(info.name, "KaTessel Pitch");
    EXPECT_STREQ(info.category, "Audio Module Class");
    v3_cpp_obj_unref(factory);
    EXPECT_TRUE(reinterpret_cast<bool (*)()>(dlsym(file, "ModuleExit"))());
    dlclose(file);
}

}  // namespace
}  // namespace KaTessel::tests
