#include "FeatureExtractor.h"

#include <algorithm>

#include "recordings/base/Errors.h"

namespace katessel::training {

FeatureExtractor::FeatureExtractor(const std::string& model) : m_window(kWindow) {
    if (m_engine.configure(kRate, 0, kHop, model.c_str()) != 0)
        fail("cannot load the model", model, "a weight file", "none");
}

void FeatureExtractor::extract(const Samples& samples, int frames, float* features) {
    for (int f = 0; f < frames; ++f) {
        std::copy_n(samples.begin() + f * kHop, kWindow, m_window.begin());
        m_engine.spectrumStage(m_window.data());
        m_engine.bandStage(features + static_cast<std::ptrdiff_t>(f) * kFeatures);
    }
}

}  // namespace katessel::training
