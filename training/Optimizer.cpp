#include "Optimizer.h"

#include <cmath>
#include <tuple>

namespace katessel::training {

namespace {

using torch::Tensor;

constexpr double kTiny = 1e-8;
constexpr double kMeanDecay = 0.9, kSquareDecay = 0.99;  // of Adam
constexpr double kSoapDecay = 0.95;                      // of all that SOAP averages
constexpr std::int64_t kTurnEvery = 10;                  // [steps] after which SOAP turns its axes
constexpr int64_t kFewOutputs = 8;                       // a layer with fewer: the heads
constexpr double kAdamHeadRate =
    0.1;  // a step of all weights of a head at the full rate would move the pitch by semitones
constexpr double kSoapHeadRate = 0.3;

Tensor bothSides(const Tensor& left, const Tensor& x, const Tensor& right) {
    return torch::mm(torch::mm(left, x), right);
}

void average(Tensor& mean, const Tensor& value, double decay) { mean.mul_(decay).add_(value, 1.0 - decay); }

// One round of power iteration from the axes so far, with those of the highest variance first. `order` tells where each
// was.
Tensor turned(const Tensor& covariance, const Tensor& axes, Tensor& order) {
    const Tensor product = torch::mm(covariance, axes);
    order = (axes * product).sum(0).argsort(0, true);
    return std::get<0>(torch::linalg_qr(product.index_select(1, order)));
}

Tensor eigenvectors(const Tensor& covariance) { return std::get<1>(torch::linalg_eigh(covariance)).flip({1}); }

}  // namespace

Optimizer::Optimizer(OptimizerKind kind, const std::vector<Tensor>& parameters) : m_kind(kind) {
    const auto zeros = [](int64_t rows, int64_t columns) { return torch::zeros({rows, columns}); };
    for (const Tensor& value : parameters) {
        const int64_t columns = value.size(-1), rows = value.numel() / columns;
        const bool matrix = kind == OptimizerKind::soap && value.dim() >= 2;
        m_state.push_back(matrix ? zeros(rows, columns) : torch::zeros(value.sizes()));
        m_state.push_back(torch::zeros_like(m_state.back()));
        for (int i = 0; i < 2; ++i) {
            m_state.push_back(matrix ? zeros(rows, rows) : torch::zeros({0}));
            m_state.push_back(matrix ? zeros(columns, columns) : torch::zeros({0}));
        }
    }
}

void Optimizer::step(std::vector<Tensor>& parameters, const std::vector<Tensor>& gradients, double rate) {
    const torch::NoGradGuard noGradients;
    ++steps;
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        if (!gradients[i].defined()) continue;
        const bool head = parameters[i].size(-1) < kFewOutputs;
        if (m_kind == OptimizerKind::soap && parameters[i].dim() >= 2)
            soap(i, parameters[i], gradients[i], head ? kSoapHeadRate * rate : rate);
        else
            adam(i, parameters[i], gradients[i], head ? kAdamHeadRate * rate : rate);
    }
}

void Optimizer::adam(std::size_t index, Tensor& parameter, const Tensor& gradient, double rate) {
    Tensor &moment = slot(index, mean), &variance = slot(index, square);
    average(moment, gradient, kMeanDecay);
    average(variance, gradient * gradient, kSquareDecay);
    const double count = static_cast<double>(steps);
    const double bias = std::sqrt(1.0 - std::pow(kSquareDecay, count)) / (1.0 - std::pow(kMeanDecay, count));
    parameter.addcdiv_(moment, variance.sqrt().add_(kTiny), -rate * bias);
}

void Optimizer::soap(std::size_t index, Tensor& parameter, const Tensor& gradient, double rate) {
    const Tensor g = gradient.reshape({-1, parameter.size(-1)});
    Tensor &rows = slot(index, rowCovariance), &columns = slot(index, columnCovariance);
    Tensor &left = slot(index, rowAxes), &right = slot(index, columnAxes);
    if (steps == 1) {  // the first gradient only tells the axes
        rows.copy_(torch::mm(g, g.t()));
        columns.copy_(torch::mm(g.t(), g));
        left.copy_(eigenvectors(rows));
        right.copy_(eigenvectors(columns));
        return;
    }
    Tensor &moment = slot(index, mean), &variance = slot(index, square);
    average(moment, g, kSoapDecay);
    const Tensor turnedGradient = bothSides(left.t(), g, right);
    average(variance, turnedGradient * turnedGradient, kSoapDecay);
    const double unbiased = 1.0 - std::pow(kSoapDecay, static_cast<double>(steps - 1));
    const Tensor way = bothSides(left.t(), moment, right) / (std::sqrt(unbiased) * (variance.sqrt() + kTiny));
    parameter.sub_(bothSides(left, way, right.t()).view(parameter.sizes()), rate);

    average(rows, torch::mm(g, g.t()), kSoapDecay);
    average(columns, torch::mm(g.t(), g), kSoapDecay);
    if (steps % kTurnEvery != 0) return;
    Tensor rowOrder, columnOrder;
    left.copy_(turned(rows, left, rowOrder));
    right.copy_(turned(columns, right, columnOrder));
    variance.copy_(variance.index_select(0, rowOrder).index_select(1, columnOrder));
}

}  // namespace katessel::training
