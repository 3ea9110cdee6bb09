// Live processing: blocks in, one frame every 120 samples at 24 kHz.
#include <math.h>

#include <algorithm>

#include "base/FlushDenormals.h"
#include "engine/PitchScale.h"
#include "engine/Prepared.h"

namespace KaTessel {

void CTessel::appendToRing(const float* samples, int count) {
    while (count > 0) {
        const int untilWrap = std::min(count, ringSize - writePos);
        std::copy_n(samples, untilWrap, ring + writePos);
        writePos = (writePos + untilWrap) % ringSize;
        samples += untilWrap;
        count -= untilWrap;
    }
}

// A full ring looks empty: more than ringSize - 1 unread samples are lost.
int CTessel::unreadSamples() const {
    const int write = readPos > writePos ? writePos + ringSize : writePos;
    return write - readPos;
}

int CTessel::doProcess(float const* input, int numSamples, float* outF0, float* outConfidence, int centsMode) {
    const FlushDenormals flush;
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
    float* features = Prepared::of(*this).features;
    spectrumStage(frame);
    bandStage(features);
    networkStage(features);
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
