// A convolution with its weights packed for the products, over one frame or over whole blocks of frames.
#pragma once

#include <vector>

#include "base/AlignedFloats.h"
#include "kernels/Kernels.h"
#include "nn/FrameBlock.h"

namespace KaTessel {

// Weights as the networks' records hold them.
struct LayerPart {
    const float* W;     // `kernel` taps of nOut rows of nIn weights
    const float* bias;  // nOut, or null: none
    int nOut;
};

// Several convolutions that read the same input may be packed as one: their outputs follow each other. Holds copies of
// the weights, and nothing else: any number of threads may use one.
class PackedLayer {
public:
    // vec: the variant that the weights are packed for and all products are computed with.
    PackedLayer(const kernels::Kernels& vec, int kernel, int nIn, const std::vector<LayerPart>& parts);

    int outputs() const { return m_nOut; }

    // Whether these are the weights that are packed here; of as many outputs, and for the same kernel and inputs.
    bool holds(const std::vector<LayerPart>& parts) const;

    // One frame: out[o] = bias + sum over taps k of W[k] in[k], or that added to what `out` holds.
    void apply(float* out, const float* const* in, bool accumulate = false) const;

    // Frames that a convolution of this kernel reaches back.
    static int span(int kernel, int dilation) { return (kernel - 1) * dilation; }
    // Frames by which its output is shifted towards the start: half the span for odd kernels (centred), all of it
    // for even ones.
    static int shift(int kernel, int dilation);

    // out[u] = bias + sum over taps k of W[k] in[max(u + shift - k * dilation, 0)]; the last `shift` frames, for which
    // there is no input, become zeros (without bias). When there are no more than `shift` frames, frame 0 takes the
    // last input as its newest.
    //   in   must have span() frames of padding; replicateFirstFrame() is called on it
    //   out  becomes as many frames as `in` of outputs() channels, unless accumulated to
    void apply(FrameBlock& in, int dilation, FrameBlock& out, bool accumulate = false) const;

private:
    // Calls visit(at, width, from, outputs) for runs of neighbouring outputs and every tap, as long as it returns true:
    // weight (i, o) of a run is at m_packed[at + i * width + o] and at from[o * nIn + i].
    template <class Visit>
    bool forEachRun(const std::vector<LayerPart>& parts, Visit visit) const;
    static std::vector<float> biases(const std::vector<LayerPart>& parts);
    int wholeVectors() const { return (m_nOut + m_vec.lanes - 1) / m_vec.lanes * m_vec.lanes; }

    const kernels::Kernels& m_vec;
    int m_kernel, m_nIn, m_nOut = 0;
    AlignedFloats m_packed;
    std::vector<float> m_bias;
};

}  // namespace KaTessel
