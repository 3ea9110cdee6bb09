// What the processor can do at best at the sizes of one frame: the floors that the engine's stages are measured against.
#pragma once

#include <functional>
#include <memory>

// Each function does its work once, on arrays of its own.
struct Floors {
    std::function<void()> transform;        // real transform of 1024, by FFTW
    std::function<void()> convolution;      // 41 real taps over the bins that the bands read
    std::function<void()> network;          // products of the network for one frame, weights packed in columns
    std::function<void()> heads;            // products of both heads, the same way
    std::function<void()> resampling;       // 120 samples of 16 taps twice, for two phases
    std::function<void()> transforms;       // kTogether transforms in one call of FFTW
    std::function<void()> laneConvolution;  // the convolution of `lanes` frames, one in each lane
    std::function<void()> matrixProduct;    // kFrames frames through the filter and the gate of one layer
    int lanes = 0;
    std::shared_ptr<void> arrays;

    static constexpr int kTogether = 16, kFrames = 504;
    static constexpr double kProducts = 138540.0;                     // of network and heads, per frame
    static constexpr double kMatrixProducts = kFrames * 210 * 140.0;  // of matrixProduct
};

// With vectors of `lanes` floats: 16, 8 or 4.
Floors makeFloors(int lanes);
