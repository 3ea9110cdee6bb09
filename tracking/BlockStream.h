// A host's own blocks: which frames are seen of a recording that is passed to the engine so many samples a call, and which
// instants they are about.
//
// Each call reports only the last frame that it completed, and the engine's resampler takes a block from a whole input
// position on and drops what does not fill another output. So most sizes hide frames, or lose samples, or both; instants
// are right all the same. Zeros before the recording fill the network's context and take out the resampler's delay.
#pragma once

#include <cstdint>

namespace katessel {

class BlockStream {
public:
    // `blockSize` [samples] must lie within smallestBlock(rate) .. largestBlock(rate): below, nothing reaches the engine;
    // above, its memory of one second overflows. At a rate [Hz] that it cannot take, largestBlock is below smallestBlock.
    BlockStream(int rate, int blockSize);
    static int smallestBlock(int rate);
    static int largestBlock(int rate);

    int rate() const { return m_rate; }            // [Hz]
    int blockSize() const { return m_blockSize; }  // [samples] per call
    int leadSamples() const { return m_lead; }     // zeros to pass before the recording

    // Frames completed once `blocks` blocks were passed. The last is number framesAfter(blocks) - 1.
    std::int64_t framesAfter(std::int64_t blocks) const;

    // The instant in the recording that frame j is about [s]; below 0 for frames before its start.
    double instantOf(std::int64_t frame) const;

private:
    int m_rate;
    int m_blockSize;
    int m_blockOutput;  // [samples at 24 kHz] that one block becomes
    int m_leadFrames;   // frames before the one about instant 0
    int m_lead;         // [samples]
};

}  // namespace katessel
