// The spectrum analyser's arguments, for live and offline frames alike.
#pragma once

#include "katessel/EngineFacts.hpp"

namespace KaTessel {

constexpr char kWindowFamily = 10;  // BlackmanHarrisLike
constexpr char kSpectrumOnly = 3;   // output mode
// Deliberate: half the rate, which places the transition between long and short windows where models expect it.
constexpr float kAnalysisRate = 0.5f * facts::kRate;  // [Hz]

}  // namespace KaTessel
