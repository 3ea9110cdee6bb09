// Whole recordings: the batch form of the network, one value per 5 ms.
//
// The signal is taken in segments, so that memory does not grow with its length: each segment of frames is analysed
// with the network's context on both sides and gives the values that the whole sequence at once would.
#include <math.h>

#include <algorithm>
#include <vector>

#include "base/FlushDenormals.h"
#include "engine/FeatureBatch.h"
#include "engine/PitchScale.h"
#include "engine/Prepared.h"
#include "engine/SignalReader.h"
#include "nn/WaveNet2Sequence.h"

namespace KaTessel {
namespace {

// 128 with the context: whole tiles of the matrix products, whole batches of features, and no more than the cache holds.
constexpr int kSegmentFrames = 120;

// The two heads over blocks of frames.
class SequenceHeads {
public:
    explicit SequenceHeads(const EngineModel& model)
        : m_model(model),
          m_second(model.vec, 1, facts::kSkip, {{model.head2Weights.data(), model.head2Bias.data(), facts::kOutputs}}) {
    }

    // Rectifies `skip` in place and leaves both outputs per frame in `result`.
    void process(FrameBlock& skip, FrameBlock& result) {
        m_model.vec.leakyRelu(skip.frame(0), facts::kLeakySlope, static_cast<int>(skip.size()));
        m_model.head1.apply(skip, 1, m_hidden);
        m_model.vec.leakyRelu(m_hidden.frame(0), facts::kLeakySlope, static_cast<int>(m_hidden.size()));
        m_second.apply(m_hidden, 1, result);
    }

private:
    const EngineModel& m_model;
    PackedLayer m_second;
    FrameBlock m_hidden;
};

// Octaves to the value that the caller asked for.
float offlinePitch(float octaves, int centsMode) {
    if (centsMode != 0) return octaves * facts::kCentsPerOctave;
    return octaves < facts::kOfflineUnvoiced ? 0.0f : facts::kReferenceHz * expf(octaves * 0.6931472f);
}

// In float and double on purpose: for signals of hours the result is that of a length rounded to float.
int wholeHops(long samples) {
    return static_cast<int>(static_cast<double>(static_cast<float>(samples)) * facts::kFramesPerSecond / facts::kRate);
}

}  // namespace

int CTessel::doProcessOffline(float const* input, int numSamples, float* outF0, float* outConfidence, int centsMode) {
    const FlushDenormals flush;
    SignalReader signal(input, numSamples, sampleRate == internalRate ? 1.0f : rateRatio, resampler);
    const int frames = wholeHops(signal.length());
    const EngineModel& model = *Prepared::of(*this).model;
    SequenceNetwork network(model.network);
    SequenceHeads heads(model);
    const int context = network.context();
    const int half = (facts::kAnalysisLength - 1) / 2;

    FeatureBatch batch(model);
    const int atOnce = batch.framesAtOnce();
    FrameBlock features, skip, outputs;
    std::vector<float> samples(static_cast<std::size_t>((atOnce - 1) * facts::kHop + facts::kAnalysisLength));
    for (int first = 0; first < frames; first += kSegmentFrames) {
        const int last = std::min(first + kSegmentFrames, frames);
        const int begin = std::max(first - context, 0), end = std::min(last + context, frames);
        features.resize(end - begin, numBands, network.padding());
        for (int f = begin; f < end; f += atOnce) {
            // Frames are centred on sample f * kHop; what lies outside the signal reads as 0.
            signal.read(static_cast<long>(f) * facts::kHop - half, static_cast<int>(samples.size()), samples.data());
            batch.process(samples.data(), facts::kHop, std::min(atOnce, end - f), features.frame(f - begin));
        }
        network.process(features, skip);
        heads.process(skip, outputs);
        for (int f = first; f < last; ++f) {
            const float* y = outputs.frame(f - begin);
            outF0[f] = offlinePitch(offlineOctaves(y[0]), centsMode);
            outConfidence[f] = confidenceOf(y[1]);
        }
    }
    return frames;
}

}  // namespace KaTessel
