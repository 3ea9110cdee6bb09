// An application that uses the installed toolkit in C++.
#include <katessel/KaTessel.h>
#include <katessel/Tracker.hpp>

#include <cmath>
#include <cstdio>
#include <vector>

static_assert(__cplusplus == 201703L, "the package leaves the language to those who use it");

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    KaTessel::CTessel engine;
    if (engine.configure(24000, 0, 120, argv[1]) != 0 || engine.receptiveField != 9 || engine.lookahead != 4) return 1;
    KaTessel::Tracker tracker(48000, argv[1]);
    if (tracker.process(std::vector<float>(48000)).voiced(0.5f)) return 1;
    float tone[16];
    for (int i = 0; i < 16; ++i) tone[i] = std::cos(6.2831853f * static_cast<float>(i) / 16.0f);
    KaTessel::MRSpectrum spectrum;
    spectrum.rFFT(tone, 16);
    std::printf("bin 1: %.3f%+.3fi, %s\n", tone[2], tone[3], KaTessel::instructionSet());
    return std::fabs(tone[2] - 8.0f) < 1e-4f ? 0 : 1;
}
