// The matrix products of the network's layers.
#ifndef KATESSEL_TRAINING_PRODUCTS_H
#define KATESSEL_TRAINING_PRODUCTS_H

#include <torch/torch.h>

namespace katessel::training {

// A dilated convolution: out[t] = bias + sum over k of x[t + (taps - 1 - k) * dilation] W[k].
//   x        frames x batch x inputs
//   weights  taps x inputs x outputs
//   bias     outputs
//   coarse   multiply in bfloat16 and add up in float32; forward and backward
// Gives frames - (taps - 1) * dilation frames of batch x outputs.
torch::Tensor product(const torch::Tensor& x, const torch::Tensor& weights, const torch::Tensor& bias,
                      std::int64_t dilation, bool coarse);

// The same, and of each result tanh of its first half of outputs times sigmoid of the second.
torch::Tensor gatedProduct(const torch::Tensor& x, const torch::Tensor& weights, const torch::Tensor& bias,
                           std::int64_t dilation, bool coarse);

}  // namespace katessel::training

#endif
