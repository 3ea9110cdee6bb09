// The dense layer: what the networks' diagrams draw as one box.
#pragma once

namespace KaTessel {

// The weights of a layer as the networks' records hold them.
struct DenseLayer {
    const float* weights;  // nOut rows of nIn
    const float* bias;     // nOut, or null: none
    int nIn, nOut;
};

// out = weights in + bias.
//   out  nOut values; must not overlap `in`
//   in   nIn values
void dense(float* out, const float* in, const DenseLayer& layer);

// out += weights in + bias.
void addDense(float* out, const float* in, const DenseLayer& layer);

}  // namespace KaTessel
