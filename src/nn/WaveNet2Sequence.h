// The offline form of the network on contiguous blocks: every layer centred on its frame.
#pragma once

#include <functional>

#include "nn/PackedNetwork.h"

namespace KaTessel {

// Runs one network over sequences. Holds scratch for them.
class SequenceNetwork {
public:
    // `net` must outlive this.
    explicit SequenceNetwork(const PackedNetwork& net);

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
    void runLayer(int index, FrameBlock& out);
    void report(const char* name, int layer, const FrameBlock& block) const;

    const PackedNetwork& m_net;
    FrameBlock m_stream, m_gates, m_gated;
    int m_context = 0;
};

}  // namespace KaTessel
