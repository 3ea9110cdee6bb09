// The fixed figures of the analysis.
#pragma once

namespace KaTessel {

constexpr int kInternalRate = 24000;        // [Hz]
constexpr float kHopSeconds = 0.005f;
constexpr int kFftSize = 1024;              // [samples] analysis frame
constexpr int kBins = kFftSize / 2 + 1;     // 513
constexpr int kBands = 150;                 // features per frame

// The spectrum analyser's arguments.
constexpr int kAnalysisLength = 1025;       // [samples] odd, so that the window has a centre
constexpr char kWindowFamily = 10;          // BlackmanHarrisLike
constexpr char kSpectrumOnly = 3;           // output mode
constexpr float kAnalysisRate = 0.5f * kInternalRate;

// Features: band level in dB, mapped from -70 .. 0 dB to 0 .. 1.
constexpr float kSmallestEnergy = 1e-7f;    // -140 dB
constexpr float kPerDecibel = 0.014285714f; // 1 / 70

constexpr float kLeakySlope = 0.2f;         // of the rectifiers around the first head

}  // namespace KaTessel
