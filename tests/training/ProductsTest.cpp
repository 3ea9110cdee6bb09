// The layers' products: their own derivative is the true one, and bfloat16 stays near it.
#include "Products.h"

#include <gtest/gtest.h>

namespace katessel::training {
namespace {

using torch::Tensor;

// The same in one operation after another, with the derivative that follows from them.
Tensor plainProduct(const Tensor& x, const Tensor& weights, const Tensor& bias, std::int64_t dilation) {
    const std::int64_t taps = weights.size(0), frames = x.size(0) - (taps - 1) * dilation;
    Tensor out = bias.expand({frames, x.size(1), weights.size(2)});
    for (std::int64_t k = 0; k < taps; ++k)
        out = out + torch::matmul(x.narrow(0, (taps - 1 - k) * dilation, frames), weights[k]);
    return out;
}

double distance(const Tensor& a, const Tensor& b) { return ((a - b).norm() / b.norm()).item<double>(); }

TEST(PlainProducts, AndTheirDerivativesAreTheTrueOnes) {
    torch::manual_seed(5);
    for (const bool gated : {false, true})
        for (const auto& [taps, dilation] : {std::pair<int, int>{1, 1}, {3, 1}, {3, 2}}) {
            const std::vector<Tensor> inputs = {torch::randn({12, 4, 20}).requires_grad_(true),
                                                torch::randn({taps, 20, 14}).requires_grad_(true),
                                                torch::randn({14}).requires_grad_(true)};
            Tensor truth = plainProduct(inputs[0], inputs[1], inputs[2], dilation);
            if (gated) truth = torch::tanh(truth.narrow(2, 0, 7)) * torch::sigmoid(truth.narrow(2, 7, 7));
            const Tensor seen = torch::randn(truth.sizes());
            const std::vector<Tensor> expected = torch::autograd::grad({truth}, inputs, {seen});
            for (const bool coarse : {false, true}) {
                const double tolerance = coarse ? 0.02 : 1e-5;  // bfloat16 has 8 binary digits
                const Tensor out = (gated ? gatedProduct : product)(inputs[0], inputs[1], inputs[2], dilation, coarse);
                EXPECT_LT(distance(out, truth), tolerance);
                const std::vector<Tensor> found = torch::autograd::grad({out}, inputs, {seen});
                for (std::size_t i = 0; i < found.size(); ++i)
                    EXPECT_LT(distance(found[i], expected[i]), tolerance)
                        << "input " << i << ", taps " << taps << ", gated " << gated;
                EXPECT_EQ(distance(out, truth) > 1e-4, coarse) << "coarse ones are coarse";
            }
        }
}

}  // namespace
}  // namespace katessel::training
