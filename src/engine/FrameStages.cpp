// The stages of one analysis frame: spectrum, bands, network, heads. Offline processing computes the first two for
// several frames at once, in FeatureBatch.
#include <math.h>

#include "engine/AnalyserArguments.h"
#include "engine/Filterbank.h"
#include "katessel/CTessel.h"
#include "kernels/Kernels.h"
#include "nn/Dense.h"

namespace KaTessel {

void CTessel::spectrumStage(float* samples) {
    long lastBin = 0;
    spectrum.DoMultiresolutionSpectrum(samples, facts::kAnalysisLength, kWindowFamily, -200.0f, &spectrumAux, nullptr,
                                       &lastBin, kSpectrumOnly, &complexSpectrum, 1.0f, true, kAnalysisRate);
    // DC and Nyquist are real and stand at the front.
    const int half = facts::kBins - 1;
    magnitude[0] = fabsf(complexSpectrum[0]);
    magnitude[half] = fabsf(complexSpectrum[1]);
    kernels::active->magnitude(magnitude + 1, complexSpectrum + 2, half - 1);
}

void CTessel::bandStage(float* features) {
    bandEnergies(filterbank, magnitude, features);
    kernels::active->scaledDecibels(features, facts::kSmallestEnergy, facts::kPerDecibel, 1.0f, numBands);
}

void CTessel::networkStage(float* features) {
    constexpr int kNoFrameIndex = -1000;
    wavenet2_step_noncausal(features, encoder, kNoFrameIndex, nullptr);
}

void CTessel::headStage() {
    const kernels::Kernels& vec = *kernels::active;
    const int channels = encoder->nSkip;
    vec.leakyRelu(encoder->skipSum, facts::kLeakySlope, channels);
    dense(hidden1, encoder->skipSum, {out1Weights, out1Bias, channels, channels});
    vec.leakyRelu(hidden1, facts::kLeakySlope, channels);
    dense(headOut, hidden1, {out2Weights, out2Bias, channels, facts::kOutputs});
}

}  // namespace KaTessel
