// The engine's network as tensors that can be trained.
//
// One set of weights, two forms. The streaming and the offline call share the initial convolution and the first layer's
// gates; from the first residual on they differ (the streaming one adds the oldest frame of a layer's reach, the offline
// one the middle) and so do the frames of the skip outputs that meet in the sum. Both are computed here in one pass, so
// that one loss trains the weights for both.
#ifndef KATESSEL_TRAINING_NETWORK_H
#define KATESSEL_TRAINING_NETWORK_H

#include <torch/torch.h>

#include <string>
#include <vector>

#include "katessel/EngineFacts.hpp"

namespace katessel::training {

// Sizes of the engine's encoder.
using KaTessel::facts::kDilations, KaTessel::facts::kLayers, KaTessel::facts::kOutputs, KaTessel::facts::kResidual,
    KaTessel::facts::kSkip, KaTessel::facts::kTaps;
constexpr int kReach = KaTessel::facts::kLeadFrames;  // [frames] more than outputs that a stretch of features needs
constexpr int kAhead = KaTessel::facts::kLookahead;   // output w of a stretch describes its frame w + kAhead

constexpr int kClasses = 232;  // of the auxiliary output: 30 cents each from 40 to 2150 Hz, and the last one "no pitch"

// The result of one form for a stretch.
struct FormOutput {
    torch::Tensor middle;  // rows x kResidual: what the last gated layer sees of each frame
    torch::Tensor heads;   // rows x 2: pitch and voicing, before scaling
};

class Network {
public:
    // Small random weights; the features are normalised with `mean` and `scale`, kFeatures values each.
    Network(std::uint64_t seed, torch::Tensor mean, torch::Tensor scale);

    // features: frames x batch x kFeatures, frames first. Gives (frames - kReach) * batch rows per form; none of a form
    // that is null.
    void forward(const torch::Tensor& features, FormOutput* streaming, FormOutput* offline) const;

    // Auxiliary classes, from the rows before the last gated layer: logarithms of probabilities, rows x kClasses. So early,
    // because a regression cannot choose between two pitches as a maximum over classes can: it takes all the layers that
    // are left to turn what the classes tell into one number.
    torch::Tensor classes(const torch::Tensor& middle) const;

    // Everything that is trained, in a fixed order, and its names.
    std::vector<torch::Tensor>& parameters() { return m_parameters; }
    const std::vector<torch::Tensor>& parameters() const { return m_parameters; }
    static const std::vector<std::string>& names();

    const torch::Tensor& mean() const { return m_mean; }
    const torch::Tensor& scale() const { return m_scale; }

    // Another set of the same weights, for a thread or an average of its own.
    Network clone() const;

    // Products of the layers in bfloat16, weights and gradients in float32: faster where the processor has units for it.
    void setCoarse(bool coarse) { m_coarse = coarse; }

    // The same on another device.
    void to(const torch::Device& device);

private:
    Network() = default;

    const torch::Tensor& weight(int index) const { return m_parameters[static_cast<std::size_t>(index)]; }
    torch::Tensor rows(const torch::Tensor& x, int weights, int bias) const;
    torch::Tensor heads(const torch::Tensor& skip) const;

    std::vector<torch::Tensor> m_parameters;
    torch::Tensor m_mean, m_scale;
    bool m_coarse = false;
};

// Where each parameter stands in Network::parameters().
namespace parameter {
constexpr int initialWeights = 0, initialBias = 1;
constexpr int gates(int layer) {
    return 2 + 4 * layer;
}  // kTaps x kResidual x 2 kResidual: tanh, sigmoid; newest tap first
constexpr int gatesBias(int layer) { return 3 + 4 * layer; }
constexpr int skip(int layer) { return 4 + 4 * layer; }
constexpr int skipLayerBias(int layer) { return 5 + 4 * layer; }
constexpr int skipBias = 2 + 4 * kLayers;
constexpr int hidden = skipBias + 1, hiddenBias = hidden + 1;
constexpr int output = hiddenBias + 1, outputBias = output + 1;
constexpr int classWeights = outputBias + 1, classBias = classWeights + 1;
constexpr int count = classBias + 1;
}  // namespace parameter

}  // namespace katessel::training

#endif
