// The offline form of the network on contiguous blocks: every layer centred on its frame.
#pragma once

#include <functional>
#include <vector>

#include "katessel/WaveNet2.h"
#include "nn/FrameLayer.h"

namespace KaTessel {

// Runs one network over sequences. Holds packed copies of its weights and scratch; the network's streaming state is
// not touched.
class SequenceNetwork {
public:
    explicit SequenceNetwork(const T_WN2& net);

    // Frames on either side of a frame that its output depends on.
    int context() const { return m_context; }

    // The whole sequence `in` (nInputs channels, padding() frames of padding) to `out` (nSkip channels).
    void process(FrameBlock& in, FrameBlock& out);

    // Frames of padding that `in` must have.
    int padding() const;

    // Called with the name and contents of every intermediate sequence, in the order they come about: "INITIAL_CONV"
    // with layer -1, "DILCONVOUT" and "LAYEROUT" with their layer, "SKIPSUM" with layer -1.
    std::function<void(const char* name, int layer, const FrameBlock&)> onSequence;

private:
    struct Layer {
        FrameLayer gates;  // filter, then gate
        FrameLayer skip;
        int dilation;
    };
    void runLayer(Layer& layer, int index, FrameBlock& out);
    void report(const char* name, int layer, const FrameBlock& block) const;

    const T_WN2& m_net;
    FrameLayer m_initial;
    std::vector<Layer> m_layers;
    FrameBlock m_stream, m_gates, m_gated;
    int m_context = 0;
};

}  // namespace KaTessel
