// The whole way from samples to pitch by its definitions, in double precision, with a random network.
#pragma once

#include <string>
#include <vector>

#include "dsp/ReferenceSpectrum.h"
#include "resample/ReferenceInterpolation.h"
#include "support/NaiveLayers.h"
#include "support/Random.h"

namespace KaTessel::tests {

// Of the engine against this: cents differ by float rounding through 140,000 products per frame and by the level of single
// bands near silence.
constexpr double kCentsTolerance = 0.5;
constexpr double kConfidenceTolerance = 2e-3;

struct NaivePair {
    double octaves;  // relative to 440 Hz
    double confidence;
};

class NaiveEngine {
public:
    // Random weights of the encoder's shape, scaled so that both outputs move within their usual range.
    explicit NaiveEngine(Random& random);

    // Writes the weights as a layer weight file.
    void saveModel(const std::string& path) const;

    // Streams a whole signal in blocks of `block` samples; one pair per completed frame.
    std::vector<NaivePair> stream(const std::vector<float>& sound, int rate, int block);

    // The offline form: one pair per whole 5 ms.
    std::vector<NaivePair> offline(const std::vector<float>& sound, int rate);

    // 150 features of the frame of 1025 samples centred on sample `centre`; samples outside the signal are 0.
    std::vector<float> features(const std::vector<double>& sound, long centre, bool lastSampleIsZero) const;

    // The offline form of network and heads on a sequence of features.
    std::vector<NaivePair> offlineNetwork(const Signal& features) const;

private:
    NaivePair heads(Frame skip, double pitchOffset) const;

    T_WN2_conf m_conf;
    NaiveWaveNet m_network;
    NaiveKernel m_out1, m_out2;
    ReferenceSpectrum m_spectrum;
    std::vector<std::vector<double>> m_bands;  // 150 rows of 513
};

// 20 harmonics with a gliding frequency, and some noise.
std::vector<float> voiceWithNoise(Random& random, int samples, int rate);

}  // namespace KaTessel::tests
