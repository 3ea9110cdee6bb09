#include "katessel/Conv1x1.h"

#include <memory>

#include "base/Messages.h"
#include "katessel/LayerWeights.h"
#include "kernels/Kernels.h"
#include "nn/InputEncodings.h"

namespace KaTessel {
namespace {

void plainProduct(const float* in, float* out, const float* W, const float* b, int nIn, int nOut, int inStart,
                  int inEnd, bool accumulate, int rowOffset) {
    const int first = rowOffset >= 0 || inStart < 0 ? 0 : inStart;
    const int end = rowOffset >= 0 || inEnd < 0 ? nIn : inEnd;
    const float* rows = rowOffset >= 0 ? W + static_cast<long>(rowOffset) * nIn : W;
    const float* inputs = in + first;
    kernels::active->rowProduct(out, rows + first, nIn, 0, &inputs, 1, end > first ? end - first : 0, nOut, b,
                                accumulate);
}

// The product with a two-hot encoding, of which only the two columns per input are read.
void interpolatedProduct(const float* in, float* out, const float* W, const float* b, int nIn, int nOut,
                         bool accumulate, int levels) {
    const LevelPosition* positions = locateLevels(in, nIn, levels);
    for (int o = 0; o < nOut; ++o) {
        float sum = 0.0f;
        for (int i = 0; i < nIn; ++i) {
            const auto [level, fraction] = positions[i];
            const float* column = W + (static_cast<long>(o) * nIn + i) * levels + level;
            sum += (1.0f - fraction) * column[0];
            if (level < levels - 1) sum += fraction * column[1];
        }
        if (b != nullptr) sum += b[o];
        out[o] = accumulate ? out[o] + sum : sum;
    }
}

// Whether one weight per input and output is all that a product reads of its matrix.
bool readsOneWeightPerInput(int oneHotLevels, int coarseLevels, int dual8bitMode, int rowOffset) {
    if (dual8bitMode >= 1) return false;
    if (coarseLevels >= 1) return coarseLevels == 1 && rowOffset <= 0;
    if (oneHotLevels > 0) return oneHotLevels == 1;  // interpolated: row offsets do not apply
    return oneHotLevels == 0 && rowOffset <= 0;
}

}  // namespace

void conv1x1(float* in, float* out, float* W, float* b, int nIn, int nOut, int inStart, int inEnd, bool accumulate,
             bool* mask, int oneHotLevels, int coarseLevels, int dual8bitMode, int rowOffset) {
    EncodedInput encoded = {in, nIn};
    if (dual8bitMode == 1) {
        encoded = encodeDual8bitOneHot(in, nIn);
    } else if (dual8bitMode == 2) {
        encoded = encodeDual8bitScaled(in, nIn);
    } else if (dual8bitMode > 2) {
        warnOfManyInputs(nIn);
        printMessage("not implemented dual_8bit_input mode\n");
        return;
    } else if (coarseLevels >= 1) {
        encoded = encodeCoarse(in, nIn, coarseLevels);
    } else if (oneHotLevels > 0 && mask != nullptr) {
        warnOfLargeOneHot(oneHotLevels * nIn);
    } else if (oneHotLevels > 0) {
        interpolatedProduct(in, out, W, b, nIn, nOut, accumulate, oneHotLevels);
        return;
    } else if (oneHotLevels < 0) {
        encoded = encodeOneHotWithResidual(in, nIn, -oneHotLevels);
    }
    if (mask != nullptr) {
        printMessage("ERROR: not implemented\n");
        return;
    }
    plainProduct(encoded.values, out, W, b, encoded.count, nOut, inStart, inEnd, accumulate, rowOffset);
}

void conv1x1(std::vector<std::vector<float>> in, std::vector<std::vector<float>>& out, std::string path,
             std::string layerName, int nIn, int nOut, int inStart, int inEnd, bool accumulate, bool* mask,
             int oneHotLevels, int coarseLevels, int dual8bitMode, int rowOffset) {
    float* W = nullptr;
    float* b = nullptr;
    init_and_load_wb(path, layerName, W, b, nIn, nOut);
    const std::unique_ptr<float[]> ownedW(W), ownedB(b);
    out.resize(in.size(), std::vector<float>(static_cast<std::size_t>(nOut), 0.0f));
    // A mask or an unknown mode is refused frame by frame, before any weight is read.
    const bool refusedPerFrame = mask != nullptr || dual8bitMode > 2;
    if (!refusedPerFrame && !readsOneWeightPerInput(oneHotLevels, coarseLevels, dual8bitMode, rowOffset)) {
        printMessage("ERROR: not implemented\n");
        return;
    }
    for (std::size_t t = 0; t < in.size(); ++t)
        conv1x1(in[t].data(), out[t].data(), W, b, nIn, nOut, inStart, inEnd, accumulate, mask, oneHotLevels,
                coarseLevels, dual8bitMode, rowOffset);
}

}  // namespace KaTessel
