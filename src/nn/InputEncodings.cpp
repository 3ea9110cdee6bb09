#include "nn/InputEncodings.h"

#include <algorithm>
#include <cmath>

#include "base/Messages.h"

namespace KaTessel {
namespace {

// What the scratch holds from the first use on; beyond it a layer warns and the scratch grows.
constexpr int kOneHotValues = 4096;
constexpr int kInterpolatedInputs = 128;
constexpr int kCoarseInputs = 30;
constexpr int kCoarseValues = kCoarseInputs * 512;

// `count` zeros of the thread's scratch for one kind of encoding.
EncodedInput zeros(std::vector<float>& scratch, int usualCount, int count) {
    scratch.resize(static_cast<std::size_t>(std::max(usualCount, count)));
    std::fill_n(scratch.begin(), count, 0.0f);
    return {scratch.data(), count};
}

EncodedInput coarseZeros(int nIn, int perInput) {
    static thread_local std::vector<float> scratch;
    warnOfManyInputs(nIn);
    return zeros(scratch, kCoarseValues, nIn * perInput);
}

struct Bytes {
    int high, low;
};

Bytes quantise(float x) {
    const float q = std::clamp(std::round((x + 1.0f) * 32767.5f), 0.0f, 65535.0f);
    const int value = q >= 0.0f ? static_cast<int>(q) : 0;  // not a number: 0
    return {value / 256, value % 256};
}

}  // namespace

void warnOfLargeOneHot(int count) {
    if (count > kOneHotValues) printMessage("WARNING: one_hot_encoding buffer not large enough\n");
}

void warnOfManyInputs(int nIn) {
    if (nIn > kCoarseInputs) printMessage("WARNING: coarse_encode_layer_inputs buffer not large enough\n");
}

EncodedInput encodeOneHotWithResidual(const float* in, int nIn, int levels) {
    static thread_local std::vector<float> scratch;
    const int count = (levels + 1) * nIn;
    warnOfLargeOneHot(count);
    const EncodedInput encoded = zeros(scratch, kOneHotValues, count);
    for (int i = 0; i < nIn; ++i) {
        const float x = in[i] + 1.0f;
        const float nearest = std::round(x * static_cast<float>(levels - 1) / 2.0f);
        const int level = nearest > 0.0f ? static_cast<int>(std::min(nearest, static_cast<float>(levels - 1))) : 0;
        const float levelValue = level == 0 ? 0.0f : static_cast<float>(level) * 2.0f / static_cast<float>(levels - 1);
        encoded.values[i * levels + level] = 1.0f;
        encoded.values[levels * nIn + i] = x - levelValue;
    }
    return encoded;
}

EncodedInput encodeCoarse(const float* in, int nIn, int levels) {
    const EncodedInput encoded = coarseZeros(nIn, levels);
    const float spacing = levels > 1 ? 2.0f / static_cast<float>(levels - 1) : 0.0f;
    const float perLevel = static_cast<float>(levels - 1) / 2.0f;
    for (int i = 0; i < nIn; ++i)
        for (int k = 0; k < levels; ++k) {
            const float centre = static_cast<float>(k) * spacing - 1.0f;
            const float distance = std::fabs(in[i] - centre) * perLevel;
            if (distance < 1.0f) encoded.values[i * levels + k] = 1.0f - distance;
        }
    return encoded;
}

EncodedInput encodeDual8bitOneHot(const float* in, int nIn) {
    const EncodedInput encoded = coarseZeros(nIn, 512);
    for (int i = 0; i < nIn; ++i) {
        const Bytes bytes = quantise(in[i]);
        encoded.values[i * 512 + bytes.high] = 1.0f;
        encoded.values[i * 512 + 256 + bytes.low] = 1.0f;
    }
    return encoded;
}

EncodedInput encodeDual8bitScaled(const float* in, int nIn) {
    const EncodedInput encoded = coarseZeros(nIn, 257);
    for (int i = 0; i < nIn; ++i) {
        const Bytes bytes = quantise(in[i]);
        encoded.values[i * 257 + bytes.high] = 1.0f;
        encoded.values[i * 257 + 256] = static_cast<float>(bytes.low) * 0.007843138f - 1.0f;  // 2 / 255
    }
    return encoded;
}

const LevelPosition* locateLevels(const float* in, int nIn, int levels) {
    static thread_local std::vector<LevelPosition> scratch;
    if (nIn > kInterpolatedInputs) printMessage("WARNING: one_hot_encoding idx buffer not large enough\n");
    scratch.resize(static_cast<std::size_t>(std::max(kInterpolatedInputs, nIn)));
    const float last = static_cast<float>(levels - 1);
    for (int i = 0; i < nIn; ++i) {
        const float place = std::min((in[i] + 1.0f) * last / 2.0f, last);
        LevelPosition& position = scratch[static_cast<std::size_t>(i)];
        position = {0, 0.0f};
        if (place > 0.0f) {
            position.level = static_cast<int>(place);
            if (position.level < levels - 1) position.fraction = place - static_cast<float>(position.level);
        }
    }
    return scratch.data();
}

}  // namespace KaTessel
