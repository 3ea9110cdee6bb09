// Both optimizers on a problem whose answer is known.
#include "Optimizer.h"

#include <gtest/gtest.h>

#include <cmath>

namespace katessel::training {
namespace {

using torch::Tensor;

// Symmetric, of full rank, with a condition number of 300 and axes in no special direction.
Tensor oblique(int64_t size) {
    const Tensor axes = std::get<0>(torch::linalg_qr(torch::randn({size, size})));
    return torch::mm(axes * torch::logspace(0.0, -2.5, size), axes.t());
}

// A linear map to learn from a few oblique samples per step, and seen obliquely: what is left of its error in the end.
// The first gradient knows 8 of the 20 axes of its inputs.
double leftOver(OptimizerKind kind, double rate) {
    constexpr int kSteps = 600, kSamples = 8;
    torch::manual_seed(3);
    const Tensor inputs = oblique(20), outputs = oblique(12), truth = torch::randn({20, 12});
    std::vector<Tensor> parameters = {torch::zeros({20, 12}).requires_grad_(true)};
    const auto loss = [&](const Tensor& samples) {
        return torch::mm(torch::mm(samples, parameters[0] - truth), outputs).square().sum();
    };
    const double before = loss(inputs).item<double>();
    Optimizer optimizer(kind, parameters);
    for (int i = 0; i < kSteps; ++i) {
        const Tensor samples = torch::mm(torch::randn({kSamples, 20}), inputs);
        optimizer.step(parameters, torch::autograd::grad({loss(samples)}, parameters),
                       rate * 0.5 * (1.0 + std::cos(M_PI * i / kSteps)));
    }
    return loss(inputs).item<double>() / before;
}

TEST(PlainOptimizer, SoapFollowsAxesThatAdamDoesNotSee) {
    const double adam = leftOver(OptimizerKind::adam, 0.05), soap = leftOver(OptimizerKind::soap, 0.05);
    EXPECT_LT(adam, 0.01);
    EXPECT_LT(soap, 0.002 * adam);
}

}  // namespace
}  // namespace katessel::training
