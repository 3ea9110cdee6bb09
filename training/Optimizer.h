// Steps from gradients to better weights.
#ifndef KATESSEL_TRAINING_OPTIMIZER_H
#define KATESSEL_TRAINING_OPTIMIZER_H

#include <torch/torch.h>

#include <vector>

namespace katessel::training {

enum class OptimizerKind { adam, soap };

// Adam (D. Kingma and J. Ba, 2015), or for the matrices SOAP (N. Vyas et al., "SOAP: Improving and stabilizing Shampoo
// using Adam", 2024): Adam in the eigenvectors of the gradients' covariances over rows and over columns. The features
// are 150 neighbouring bands that rise and fall together, so that single weights are a poor set of axes.
class Optimizer {
public:
    Optimizer(OptimizerKind kind, const std::vector<torch::Tensor>& parameters);

    void step(std::vector<torch::Tensor>& parameters, const std::vector<torch::Tensor>& gradients, double rate);

    // All state, for a checkpoint.
    std::vector<torch::Tensor>& state() { return m_state; }
    std::int64_t steps = 0;

private:
    // The state of one parameter; those after `square` are empty for Adam.
    enum Slot : std::size_t { mean, square, rowCovariance, columnCovariance, rowAxes, columnAxes, slots };

    torch::Tensor& slot(std::size_t parameter, Slot which) { return m_state[slots * parameter + which]; }
    void adam(std::size_t index, torch::Tensor& parameter, const torch::Tensor& gradient, double rate);
    void soap(std::size_t index, torch::Tensor& parameter, const torch::Tensor& gradient, double rate);

    OptimizerKind m_kind;
    std::vector<torch::Tensor> m_state;
};

}  // namespace katessel::training

#endif
