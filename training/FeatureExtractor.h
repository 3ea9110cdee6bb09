// The features that the network sees, computed by the engine itself.
#ifndef KATESSEL_TRAINING_FEATUREEXTRACTOR_H
#define KATESSEL_TRAINING_FEATUREEXTRACTOR_H

#include <string>

#include "Sound.h"
#include "katessel/CTessel.h"
#include "katessel/EngineFacts.hpp"

namespace katessel::training {

constexpr int kFeatures = KaTessel::facts::kBands;

class FeatureExtractor {
public:
    // Any weight file will do: the features come before the network.
    explicit FeatureExtractor(const std::string& model);

    //   features  frames rows of kFeatures; frame i is centred on sample kCentre + i * kHop
    void extract(const Samples& samples, int frames, float* features);

private:
    KaTessel::CTessel m_engine;
    Samples m_window;
};

}  // namespace katessel::training

#endif
