// Whole recordings: the batch form of the network, one value per 5 ms.
//
// The signal is taken in segments, so that memory does not grow with its length: each segment of frames goes through the
// network with its context on both sides and gives the values that the whole sequence at once would. Features are computed
// once; those at the end of a segment are carried over to the next.
#include <math.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "base/FlushDenormals.h"
#include "engine/FeatureBatch.h"
#include "engine/PitchScale.h"
#include "engine/Prepared.h"
#include "engine/SignalReader.h"
#include "nn/WaveNet2Sequence.h"

namespace KaTessel {
namespace {

// New ones in a segment: whole batches of features, whole tiles of the matrix products with the 8 that are carried over, and
// no more than the cache holds.
constexpr int kSegmentFrames = 240;

// Octaves to the value that the caller asked for.
float offlinePitch(float octaves, int centsMode) {
    if (centsMode != 0) return octaves * facts::kCentsPerOctave;
    return octaves < facts::kOfflineUnvoiced ? 0.0f : facts::kReferenceHz * expf(octaves * 0.6931472f);
}

// In float and double on purpose: for signals of hours the result is that of a length rounded to float.
int wholeHops(std::int64_t samples) {
    return static_cast<int>(static_cast<double>(static_cast<float>(samples)) * facts::kFramesPerSecond / facts::kRate);
}

}  // namespace

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

// Kept from one recording to the next: of a short one, it costs a tenth of the time to ask for the memory.
struct OfflineForm {
    explicit OfflineForm(const EngineModel& model)
        : network(model.network),
          heads(model),
          batch(model),
          samples(static_cast<std::size_t>((batch.framesAtOnce() - 1) * facts::kHop + facts::kAnalysisLength)) {}

    SequenceNetwork network;
    SequenceHeads heads;
    FeatureBatch batch;
    FrameBlock features, skip, outputs;
    std::vector<float> samples;  // of one batch: a copy that the cache holds, as its frames are read side by side
};

int CTessel::doProcessOffline(float const* input, int numSamples, float* outF0, float* outConfidence, int centsMode) {
    const FlushDenormals flush;
    SignalReader signal(input, numSamples, sampleRate == internalRate ? 1.0f : rateRatio, resampler);
    const int frames = wholeHops(signal.length());
    Prepared& prepared = Prepared::of(*this);
    if (prepared.offline == nullptr) prepared.offline = std::make_shared<OfflineForm>(*prepared.model);
    auto& [network, heads, batch, features, skip, outputs, samples] = *prepared.offline;
    const int context = network.context(), atOnce = batch.framesAtOnce();
    const int half = (facts::kAnalysisLength - 1) / 2;
    for (int first = 0, begin = 0, end = 0; first < frames;) {
        const int carried = std::max(first - context, 0), known = end;
        std::copy(features.frame(carried - begin), features.frame(known - begin), features.frame(0));
        begin = carried;
        end = frames - known < kSegmentFrames * 3 / 2 ? frames : known + kSegmentFrames;  // no short one at the end
        const int last = end < frames ? end - context : frames;
        features.resize(end - begin, numBands, network.padding());
        for (int f = known; f < end; f += atOnce) {
            // Frames are centred on sample f * kHop; what lies outside the signal reads as 0.
            signal.read(static_cast<std::int64_t>(f) * facts::kHop - half, static_cast<int>(samples.size()),
                        samples.data());
            batch.process(samples.data(), facts::kHop, std::min(atOnce, end - f), features.frame(f - begin));
        }
        network.process(features, skip);
        heads.process(skip, outputs);
        for (int f = first; f < last; ++f) {
            const float* y = outputs.frame(f - begin);
            outF0[f] = offlinePitch(offlineOctaves(y[0]), centsMode);
            outConfidence[f] = confidenceOf(y[1]);
        }
        first = last;
    }
    return frames;
}

}  // namespace KaTessel
