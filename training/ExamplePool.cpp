#include "ExamplePool.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace katessel::training {

namespace {

constexpr double kLevelSpread = 6.0;  // [dB] by which the level differs each time a scene is seen
using KaTessel::facts::kPerDecibel;   // of a feature
constexpr float kFloor = -1.0f;       // the features' smallest value, -140 dB

constexpr float kEdgeWeight = 0.4f, kSteepWeight = 0.5f;
constexpr float kSteep = 0.08f;  // [octaves per frame]

// Less where voicing begins or ends, or the pitch runs steeply: there the truth is a few milliseconds off.
std::vector<float> pitchWeights(const std::vector<float>& pitch) {
    std::vector<float> weight(pitch.size(), 1.0f);
    for (std::size_t f = 0; f < pitch.size(); ++f) {
        if (pitch[f] <= 0.0f) continue;
        const float before = f > 0 ? pitch[f - 1] : pitch[f], after = f + 1 < pitch.size() ? pitch[f + 1] : pitch[f];
        if (before <= 0.0f || after <= 0.0f)
            weight[f] = kEdgeWeight;
        else if (std::fabs(std::log2(after / before)) > 2.0f * kSteep)
            weight[f] = kSteepWeight;
    }
    return weight;
}

}  // namespace

ExamplePool::ExamplePool(SceneMaker makeScene, const std::string& model, std::uint64_t seed, int capacity,
                         std::int64_t next)
    : m_makeScene(std::move(makeScene)),
      m_extractor(model),
      m_seed(seed),
      m_next(next - capacity),
      m_examples(static_cast<std::size_t>(capacity)) {
    refresh(capacity);
}

void ExamplePool::render(Example& example, std::int64_t number) {
    Random random(m_seed + static_cast<std::uint64_t>(number) * 1000003ull);
    const LabelledSound sound = m_makeScene(kSceneFrames, random);
    example.features.resize(static_cast<std::size_t>(kSceneFrames) * kFeatures);
    m_extractor.extract(sound.samples, kSceneFrames, example.features.data());
    example.pitch = sound.pitch;
    example.weight = pitchWeights(sound.pitch);
}

void ExamplePool::refresh(int scenes) {
    const std::int64_t capacity = static_cast<std::int64_t>(m_examples.size());
    for (int i = 0; i < scenes; ++i, ++m_next)
        render(m_examples[static_cast<std::size_t>(((m_next % capacity) + capacity) % capacity)], m_next);
}

Batch ExamplePool::draw(int frames, int batch, Random& random) const {
    const int results = frames - kReach;
    Batch drawn;
    drawn.features = torch::empty({frames, batch, kFeatures});
    drawn.truth.pitch = torch::empty({static_cast<int64_t>(results) * batch});
    drawn.truth.weight = torch::empty_like(drawn.truth.pitch);
    float* features = drawn.features.data_ptr<float>();
    float* pitch = drawn.truth.pitch.data_ptr<float>();
    float* weight = drawn.truth.weight.data_ptr<float>();
    for (int b = 0; b < batch; ++b) {
        const Example& example =
            m_examples[static_cast<std::size_t>(random.below(static_cast<int>(m_examples.size())))];
        const int first = random.below(kSceneFrames - frames + 1);
        const float shift = static_cast<float>(kLevelSpread * random.normal()) * kPerDecibel;
        for (int t = 0; t < frames; ++t) {
            const float* from = example.features.data() + static_cast<std::ptrdiff_t>(first + t) * kFeatures;
            float* to = features + (static_cast<std::ptrdiff_t>(t) * batch + b) * kFeatures;
            for (int i = 0; i < kFeatures; ++i) to[i] = std::max(from[i] + shift, kFloor);
        }
        for (int w = 0; w < results; ++w) {
            const std::size_t at = static_cast<std::size_t>(first + w + kAhead);
            pitch[w * batch + b] = example.pitch[at];
            weight[w * batch + b] = example.weight[at];
        }
    }
    return drawn;
}

void ExamplePool::statistics(torch::Tensor& mean, torch::Tensor& scale) const {
    std::vector<double> sum(kFeatures, 0.0), squares(kFeatures, 0.0);
    double rows = 0.0;
    for (const Example& example : m_examples)
        for (std::size_t i = 0; i < example.features.size(); ++i) {
            sum[i % kFeatures] += example.features[i];
            squares[i % kFeatures] += static_cast<double>(example.features[i]) * example.features[i];
        }
    rows = static_cast<double>(m_examples.size()) * kSceneFrames;
    mean = torch::empty({kFeatures});
    scale = torch::empty({kFeatures});
    for (int i = 0; i < kFeatures; ++i) {
        const std::size_t at = static_cast<std::size_t>(i);
        const double average = sum[at] / rows, variance = squares[at] / rows - average * average;
        mean[i] = average;
        scale[i] = 1.0 / std::sqrt(std::max(variance, 1e-6));
    }
}

}  // namespace katessel::training
