#include "Optimizer.h"

#include <algorithm>
#include <cmath>

namespace {

using torch::Tensor;

constexpr double kMeanDecay = 0.9, kSquareDecay = 0.99, kTiny = 1e-8, kMomentum = 0.95;
constexpr int64_t kFewOutputs = 8;  // a layer with fewer: the heads
constexpr double kHeadRate = 0.1;  // a step of all weights of a head at the full rate would move the pitch by semitones

// The nearest matrix with orthonormal rows or columns, roughly: a quintic iteration on the singular values.
Tensor orthogonalised(Tensor x) {
    const bool tall = x.size(0) > x.size(1);
    if (tall) x = x.t();
    x = x / (x.norm() + kTiny);
    for (int i = 0; i < 5; ++i) {
        const Tensor square = torch::mm(x, x.t());
        x = 3.4445 * x + torch::mm(-4.7750 * square + 2.0315 * torch::mm(square, square), x);
    }
    return tall ? x.t() : x;
}

}  // namespace

Optimizer::Optimizer(OptimizerKind kind, const std::vector<Tensor>& parameters) : m_kind(kind) {
    for (const Tensor& value : parameters)
        for (int moment = 0; moment < 2; ++moment)
            m_state.push_back(torch::zeros_like(value, torch::requires_grad(false)));
}

void Optimizer::step(std::vector<Tensor>& parameters, const std::vector<Tensor>& gradients, double rate) {
    const torch::NoGradGuard noGradients;
    ++steps;
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        if (!gradients[i].defined()) continue;
        const bool head = parameters[i].size(-1) < kFewOutputs;
        const bool matrix = m_kind == OptimizerKind::muon && parameters[i].dim() >= 2 && !head;
        if (matrix)
            muon(parameters[i], gradients[i], m_state[2 * i], rate);
        else
            adam(parameters[i], gradients[i], m_state[2 * i], m_state[2 * i + 1], head ? kHeadRate * rate : rate);
    }
}

void Optimizer::adam(Tensor& parameter, const Tensor& gradient, Tensor& mean, Tensor& square, double rate) {
    mean.mul_(kMeanDecay).add_(gradient, 1.0 - kMeanDecay);
    square.mul_(kSquareDecay).addcmul_(gradient, gradient, 1.0 - kSquareDecay);
    const double count = static_cast<double>(steps);
    const double bias = std::sqrt(1.0 - std::pow(kSquareDecay, count)) / (1.0 - std::pow(kMeanDecay, count));
    parameter.addcdiv_(mean, square.sqrt().add_(kTiny), -rate * bias);
}

void Optimizer::muon(Tensor& parameter, const Tensor& gradient, Tensor& momentum, double rate) {
    momentum.mul_(kMomentum).add_(gradient);
    const Tensor direction = (gradient + kMomentum * momentum).reshape({-1, parameter.size(-1)});
    const double length = 0.2 * std::sqrt(static_cast<double>(std::max(direction.size(0), direction.size(1))));
    parameter.add_(orthogonalised(direction).reshape(parameter.sizes()), -rate * length);
}
