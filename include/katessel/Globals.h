// Process-wide settings and accumulators of the toolkit, initialised when the library is loaded.
//
// Of the engine's paths only the streaming network step touches one: it adds its processor time to wavenet2_step_dur_
// while performance_analysis_ is set, atomically, so that engines may run on any number of threads. Everything else
// here is for one thread at a time, and settings are to be made before engines run.
#ifndef KATESSEL_GLOBALS_H
#define KATESSEL_GLOBALS_H

#include <random>
#include <string>

#include "katessel/Export.h"

namespace KaTessel {

KATESSEL_API extern int performance_analysis_;  // 1: network steps measure their time, by two clock readings each

// Settings that applications may keep here; no function of the library reads them.
KATESSEL_API extern float syntemperature_;  // synthesis temperature, 1.0
KATESSEL_API extern float multinomial_th_;  // threshold for multinomial sampling, 0.001
KATESSEL_API extern float nsoftmax_;        // softmax classes, 256.0
KATESSEL_API extern bool synrandomseed_;    // fixed random seed, false
KATESSEL_API extern int transp_st_;         // transposition, 0
KATESSEL_API extern std::string task_;      // task name, empty

// Accumulated durations [s]. Only the first is written by the library.
KATESSEL_API extern float wavenet2_step_dur_;
KATESSEL_API extern float condnet_dur_;
KATESSEL_API extern float wavenet2D_step_dur_;
KATESSEL_API extern float mol_act_step_dur_;

// Random sources: the device, an engine seeded once from it, and a second engine that always starts at 1.
KATESSEL_API extern std::random_device rd_;
KATESSEL_API extern std::mt19937 gen_;
KATESSEL_API extern std::default_random_engine generator_;

}  // namespace KaTessel

#endif
