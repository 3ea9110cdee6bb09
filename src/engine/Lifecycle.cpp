// Construction and destruction of an engine, and its figures of latency.
#include "engine/Prepared.h"
#include "katessel/CTessel.h"
#include "katessel/FloatBuffer.h"

namespace KaTessel {

CTessel::CTessel() = default;

CTessel::~CTessel() {
    sampleRate = internalRate = hopSize = hopSize2 = 0;
    delete[] frame;
    frame = nullptr;
    delete[] ring;
    ring = nullptr;
    wavenet2_free(encoder);
    encoder = nullptr;
    for (float** buffer : {&hidden1, &out1Weights, &out1Bias, &headOut, &out2Weights, &out2Bias}) free_buf(*buffer);
    delete[] resampled;
    resampled = nullptr;
    free_buf(magnitude);
    delete[] spectrumAux;
    spectrumAux = nullptr;
    delete[] complexSpectrum;
    complexSpectrum = nullptr;
}

int CTessel::GetAnalysisLatency() { return 1; }

int CTessel::GetTotalSamplesLatency() {
    float hops = 8.0f;
    for (int rate : {11025, 16000, 22050, 24000, 32000, 44100, 48000})
        if (sampleRate == rate) hops = 7.0f;
    const float hop = static_cast<float>(hopSize);
    const int internal = static_cast<int>(static_cast<float>((GetAnalysisLatency() + 1) * hopSize) + hop * hops);
    if (internalRate == sampleRate) return internal;
    return static_cast<int>(static_cast<float>(internal) * rateRatio);
}

int CTessel::GetNumOutputFramesForInputSamples(int numSamples) {
    const float samplesPerHop =
        static_cast<float>(sampleRate) / static_cast<float>(internalRate) * static_cast<float>(hopSize);
    return static_cast<int>(static_cast<float>(numSamples) / samplesPerHop + 0.5f);
}

}  // namespace KaTessel
