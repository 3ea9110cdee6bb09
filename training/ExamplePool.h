// Rendered scenes as features, from which batches are drawn.
#ifndef KATESSEL_TRAINING_EXAMPLEPOOL_H
#define KATESSEL_TRAINING_EXAMPLEPOOL_H

#include <torch/torch.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "FeatureExtractor.h"
#include "Loss.h"
#include "Random.h"
#include "Sound.h"

namespace katessel::training {

constexpr int kSceneFrames = 240;

struct Batch {
    torch::Tensor features;  // frames x batch x kFeatures
    Truth truth;             // (frames - kReach) * batch
};

// Draws one scene of so many frames.
using SceneMaker = std::function<LabelledSound(int frames, Random& random)>;

// Scenes are numbered; number n is always the same one. The pool holds the latest `capacity` of them, and each is seen
// several times, in other stretches and at other levels, before a new one takes its place.
class ExamplePool {
public:
    //   next  the number of the first scene that the next refresh() renders: the `capacity` before it are rendered at once
    ExamplePool(SceneMaker makeScene, const std::string& model, std::uint64_t seed, int capacity, std::int64_t next);

    void refresh(int scenes);

    // Stretches of `frames` frames, of as many scenes as `batch` says.
    Batch draw(int frames, int batch, Random& random) const;

    // Mean and 1 / standard deviation of each feature over the pool.
    void statistics(torch::Tensor& mean, torch::Tensor& scale) const;

private:
    struct Example {
        std::vector<float> features;  // kSceneFrames x kFeatures
        std::vector<float> pitch, weight;
    };

    void render(Example& example, std::int64_t number);

    SceneMaker m_makeScene;
    FeatureExtractor m_extractor;
    std::uint64_t m_seed;
    std::int64_t m_next;
    std::vector<Example> m_examples;
};

}  // namespace katessel::training

#endif
