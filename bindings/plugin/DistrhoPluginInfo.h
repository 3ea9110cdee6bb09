// What DPF asks about the plug-in before it compiles a format.
#ifndef KATESSEL_PLUGIN_DISTRHOPLUGININFO_H
#define KATESSEL_PLUGIN_DISTRHOPLUGININFO_H

#define DISTRHO_PLUGIN_NAME "KaTessel Pitch"
#define DISTRHO_PLUGIN_URI "urn:katessel:pitch"
#define DISTRHO_PLUGIN_CLAP_ID "katessel.pitch"
#define DISTRHO_PLUGIN_CLAP_FEATURES "audio-effect", "note-detector", "analyzer", "mono"
#define DISTRHO_PLUGIN_LV2_CATEGORY "lv2:AnalyserPlugin"
#define DISTRHO_PLUGIN_VST3_CATEGORIES "Fx|Analyzer|Mono"

#define DISTRHO_PLUGIN_NUM_INPUTS 1
#define DISTRHO_PLUGIN_NUM_OUTPUTS 1
#define DISTRHO_PLUGIN_IS_RT_SAFE 1
#define DISTRHO_PLUGIN_WANT_LATENCY 1
#define DISTRHO_PLUGIN_WANT_MIDI_OUTPUT 1
#define DISTRHO_PLUGIN_MINIMUM_BUFFER_SIZE 8192  // [bytes] of MIDI with its frame: more than 200 ms

// There is no other state than the parameters, which LV2 and VST3 hosts keep by themselves. CLAP hosts ask the plug-in,
// and DPF answers only plug-ins with state; in LV2 it would ask hosts for a worker.
#ifdef DISTRHO_PLUGIN_TARGET_CLAP
#define DISTRHO_PLUGIN_WANT_STATE 1
#endif

#endif
