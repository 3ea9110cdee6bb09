// Live processing: blocks in, one frame every 120 samples at 24 kHz.
#include <math.h>

#include <algorithm>
#include <vector>

#include "engine/PitchScale.h"
#include "katessel/CTessel.h"

namespace KaTessel {

void CTessel::appendToRing(const float* samples, int count) {
    for (int i = 0; i < count; ++i) {
        ring[writePos] = samples[i];
        if (++writePos == ringSize) writePos = 0;
    }
}

// A full ring looks empty: more than ringSize - 1 unread samples are lost.
int CTessel::unreadSamples() const {
    const int write = readPos > writePos ? writePos + ringSize : writePos;
    return write - readPos;
}

int CTessel::doProcess(float const* input, int numSamples, float* outF0, float* outConfidence, int centsMode) {
    // A call that completes no frame repeats the last pair, in the unit it was computed in.
    *outF0 = lastF0;
    *outConfidence = lastConfidence;
    if (sampleRate == internalRate) {
        appendToRing(input, numSamples);
    } else {
        const int count = static_cast<int>(static_cast<float>(numSamples) / rateRatio);
        resampler.doProcess(input, numSamples, resampled, rateRatio, count);
        appendToRing(resampled, count);
    }
    while (unreadSamples() >= fftSize) {
        const int untilWrap = std::min(fftSize, ringSize - readPos);
        std::copy_n(ring + readPos, untilWrap, frame);
        std::copy_n(ring, fftSize - untilWrap, frame + untilWrap);
        readPos = (readPos + hopSize) % ringSize;
        doProcess(outF0, outConfidence, centsMode);
    }
    return 1;
}

int CTessel::doProcess(float* outF0, float* outConfidence, int centsMode) {
    std::vector<float> features(static_cast<std::size_t>(numBands), 0.0f);
    spectrumStage(frame);
    bandStage(features.data());
    networkStage(features.data());
    headStage();
    const float octaves = liveOctaves(headOut[0]);
    if (centsMode != 0)
        *outF0 = octaves * facts::kCentsPerOctave;
    else
        *outF0 = headOut[0] < facts::kLiveUnvoiced ? 0.0f : facts::kReferenceHz * exp2f(octaves);
    *outConfidence = confidenceOf(headOut[1]);
    lastF0 = *outF0;
    lastConfidence = *outConfidence;
    return 0;
}

}  // namespace KaTessel
