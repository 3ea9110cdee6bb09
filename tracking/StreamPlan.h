// How a recording is streamed through the engine so that every frame is seen and its instant is known.
//
// The engine works at 24 kHz. Frame j, the j-th that it completes, analyses the samples j * 120 .. j * 120 + 1023
// of its stream, and the network's answer then is about the frame 4 earlier: about the stream's sample
// j * 120 + 512 - 480. At other rates its resampler delays by 9 host samples. Zeros before the recording
// turn that into the instants 0, 5 ms, 10 ms, .. of the recording itself. They begin 8 frames early, so that
// the first row has heard silence before the recording and not an engine that has heard nothing.
//
// Each call reports only the last frame that it completed, and resamples a block from a whole input position on,
// dropping what does not fill another output. A block loses nothing when it becomes a whole number of samples,
// and hides nothing when they are at most 120.
#pragma once

#include <cstdint>

namespace katessel {

constexpr int kEngineRate = 24000;  // [Hz]
constexpr int kHop = 120;           // [samples at 24 kHz] 5 ms

class StreamPlan {
public:
    // Whether some block at this rate [Hz] neither loses samples nor hides frames. A recording at any other
    // rate must be converted to kEngineRate first.
    static bool streamsWhole(int rate);

    // Every frame, on the 5 ms grid. Needs streamsWhole(rate).
    static StreamPlan forGrid(int rate);

    // The same in the smallest blocks that lose nothing, so that little waits until a block is full.
    static StreamPlan forLeastDelay(int rate);

    // Blocks of `blockSize` samples, as a host would pass them, with what that loses and hides. A size outside
    // smallestBlock(rate) .. largestBlock(rate) is not streamed: below, nothing reaches the engine; above, its
    // memory of one second overflows.
    static StreamPlan forHostBlocks(int rate, int blockSize);
    static int smallestBlock(int rate);
    static int largestBlock(int rate);

    int rate() const { return m_rate; }            // [Hz] of the samples to pass
    int blockSize() const { return m_blockSize; }  // [samples] per call
    int leadSamples() const { return m_lead; }     // zeros to pass before the recording

    // Frames completed once `blocks` blocks were passed. The last is number framesAfter(blocks) - 1.
    std::int64_t framesAfter(std::int64_t blocks) const;

    // The instant in the recording that frame j is about [s]; below 0 for frames before its start.
    double instantOf(std::int64_t frame) const;

private:
    StreamPlan(int rate, int blockSize);

    int m_rate = 0;
    int m_blockSize = 0;
    int m_blockOutput = 0;  // [samples at 24 kHz] that one block becomes
    bool m_lossless = false;
    int m_leadFrames = 0;   // frames before the one about instant 0
    int m_lead = 0;         // [samples]
};

}  // namespace katessel
