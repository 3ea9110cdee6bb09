// Steps from gradients to better weights.
#ifndef KATESSEL_TRAINING_OPTIMIZER_H
#define KATESSEL_TRAINING_OPTIMIZER_H

#include <torch/torch.h>

#include <vector>

enum class OptimizerKind { adam, muon };

// Adam (D. Kingma and J. Ba, 2015), or for the matrices Muon (K. Jordan et al., 2024): the step is the matrix with the
// momentum's singular vectors and singular values near 1. Its length is matched to Adam's as in J. Liu et al., "Muon is
// scalable for LLM training", 2025, so that both take the same rates.
class Optimizer {
public:
    Optimizer(OptimizerKind kind, const std::vector<torch::Tensor>& parameters);

    void step(std::vector<torch::Tensor>& parameters, const std::vector<torch::Tensor>& gradients, double rate);

    // All state, for a checkpoint.
    std::vector<torch::Tensor>& state() { return m_state; }
    std::int64_t steps = 0;

private:
    void adam(torch::Tensor& parameter, const torch::Tensor& gradient, torch::Tensor& mean, torch::Tensor& square,
              double rate);
    void muon(torch::Tensor& parameter, const torch::Tensor& gradient, torch::Tensor& momentum, double rate);

    OptimizerKind m_kind;
    std::vector<torch::Tensor> m_state;  // per parameter: first and second moment
};

#endif
