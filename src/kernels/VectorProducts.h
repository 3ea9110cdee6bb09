// Dot products, and products of matrices with one frame or with many.
#pragma once

#include "kernels/Kernels.h"
#include "kernels/Vectors.h"

namespace KaTessel::kernels {
namespace {

float dot(const float* a, const float* b, int n) {
    Vec acc = {};
    int i = 0;
    for (; i + kLanes <= n; i += kLanes) acc += load(a + i) * load(b + i);
    float total = sum(acc);
    for (; i < n; ++i) total += a[i] * b[i];
    return total;
}

void shortDots(float* out, const float* rows, const float* x, const int* starts, int n) {
    for (int r = 0; r < n; r += kLanes) {
        Vec products[kLanes];
        for (int l = 0; l < kLanes; ++l) {
            const int row = r + l < n ? r + l : n - 1;
            products[l] = Vec{};
            for (int i = 0; i < kShortRow; i += kLanes)
                products[l] += load(rows + row * kShortRow + i) * load(x + starts[row] + i);
        }
        const Vec sums = sumsOfAll(products);
        if (r + kLanes <= n) {
            store(out + r, sums);
        } else {
            for (int l = 0; r + l < n; ++l) out[r + l] = sums[l];
        }
    }
}

// The products of kRows neighbouring rows with the taps, left in `out`.
// The last nIn % kLanes inputs are read as a whole vector that ends with the row, of which `last` keeps what is not yet
// counted: of the inputs, per tap, in `ends`, and of the weights too, as an infinite one times a zero is no zero.
template <int kRows>
KATESSEL_INLINE void rowBlock(float* out, const float* w, long rowStride, long tapStride, const float* const* x,
                              const Vec* ends, Mask last, int taps, int nIn) {
    Vec acc[std::size_t{kRows}] = {};
    float shortSums[std::size_t{kRows}] = {};
    const int whole = nIn - nIn % kLanes;
    for (int t = 0; t < taps; ++t) {
        const float* rows = w + t * tapStride;
        for (int i = 0; i < whole; i += kLanes) {
            const Vec in = load(x[t] + i);
            for (int r = 0; r < kRows; ++r) acc[r] += load(rows + r * rowStride + i) * in;
        }
        if (whole == nIn) continue;
        if (whole > 0) {
            for (int r = 0; r < kRows; ++r) acc[r] += keep(last, load(rows + r * rowStride + nIn - kLanes)) * ends[t];
        } else {
            for (int r = 0; r < kRows; ++r)
                for (int i = 0; i < nIn; ++i) shortSums[r] += rows[r * rowStride + i] * x[t][i];
        }
    }
    if constexpr (kRows == 1) {
        out[0] = sum(acc[0]) + shortSums[0];
    } else {
        for (int r = 0; r < kRows; r += 4) {
            const V4 four = sums(acc[r], acc[r + 1], acc[r + 2], acc[r + 3]);
            for (int j = 0; j < 4; ++j) out[r + j] = four[j] + shortSums[r + j];
        }
    }
}

void rowProduct(float* out, const float* w, long rowStride, long tapStride, const float* const* x, int taps, int nIn,
                int nOut, const float* bias, bool accumulate) {
    Vec ends[kMaxTaps];
    Mask last = {};
    const int rest = nIn % kLanes;
    if (rest != 0 && nIn > kLanes) {
        for (int i = kLanes - rest; i < kLanes; ++i) last[i] = -1;
        for (int t = 0; t < taps; ++t) ends[t] = keep(last, load(x[t] + nIn - kLanes));
    }
    float block[8];
    for (int o = 0; o < nOut;) {
        const float* rows = w + o * rowStride;
        int count = 1;
        if (o + 8 <= nOut) {
            rowBlock<8>(block, rows, rowStride, tapStride, x, ends, last, taps, nIn);
            count = 8;
        } else if (o + 4 <= nOut) {
            rowBlock<4>(block, rows, rowStride, tapStride, x, ends, last, taps, nIn);
            count = 4;
        } else {
            rowBlock<1>(block, rows, rowStride, tapStride, x, ends, last, taps, nIn);
        }
        for (int r = 0; r < count; ++r, ++o) {
            const float value = bias != nullptr ? block[r] + bias[o] : block[r];
            out[o] = accumulate ? out[o] + value : value;
        }
    }
}

// Vectors of outputs in a packed block, side by side in registers for one frame.
constexpr int kBlockVectors = kLanes == 4 ? 8 : 9;
// For many frames a block's vectors are taken in groups, and the weights of one input are loaded once for all frames of
// a tile. As many sums as the register file holds beside weights and input.
constexpr int kTileFrames = kLanes == 16 ? 8 : 4;
constexpr int kTileVectors = kLanes == 4 ? 2 : 3;

// Adds bias and what is there to the sums of `outputs` outputs, of which those that are no whole vector are fewer.
KATESSEL_INLINE void writeOutputs(float* out, Vec sums, int outputs, const float* bias, bool accumulate) {
    if (outputs >= kLanes) {
        if (bias != nullptr) sums += load(bias);
        store(out, accumulate ? load(out) + sums : sums);
        return;
    }
    float rest[kLanes];
    store(rest, sums);
    for (int o = 0; o < outputs; ++o) {
        const float sum = bias != nullptr ? rest[o] + bias[o] : rest[o];
        out[o] = accumulate ? out[o] + sum : sum;
    }
}

// kFrames frames through kVectors vectors of a block whose rows are `width` vectors long. `outputs` may be less than
// those vectors hold.
template <int kFrames, int kVectors>
KATESSEL_INLINE void productTile(float* out, long outStride, int outputs, const float* packed, int width,
                                 const float* const* x, long xOffset, long xStride, int taps, int nIn,
                                 const float* bias, bool accumulate) {
    Vec sums[std::size_t{kFrames}][std::size_t{kVectors}] = {};
    for (int t = 0; t < taps; ++t) {
        const float* in = x[t] + xOffset;
        for (int i = 0; i < nIn; ++i, packed += width * kLanes) {
            Vec weights[std::size_t{kVectors}];
            for (int v = 0; v < kVectors; ++v) weights[v] = loadAligned(packed + v * kLanes);
            for (int f = 0; f < kFrames; ++f) {
                const Vec value = splat(in[f * xStride + i]);
                for (int v = 0; v < kVectors; ++v) sums[f][v] += value * weights[v];
            }
        }
    }
    for (int f = 0; f < kFrames; ++f)
        for (int v = 0; v < kVectors; ++v)
            writeOutputs(out + f * outStride + v * kLanes, sums[f][v], outputs - v * kLanes,
                         bias != nullptr ? bias + v * kLanes : nullptr, accumulate);
}

// Calls work with `count`, 1 .. kMost, as a constant.
template <int kMost, typename Work>
KATESSEL_INLINE void withConstant(int count, Work work) {
    if constexpr (kMost > 1) {
        if (count < kMost) return withConstant<kMost - 1>(count, work);
    }
    work(std::integral_constant<int, kMost>());
}

void frameProduct(float* out, long outStride, int frames, int nOut, const float* packed, const float* const* x,
                  long xStride, int taps, int nIn, const float* bias, bool accumulate) {
    for (int first = 0; first < nOut;) {
        const int vectors = (nOut - first + kLanes - 1) / kLanes;
        const int width = vectors < kBlockVectors ? vectors : kBlockVectors;
        // The vectors `at` .. `at` + constant - 1 of the block, for the frames from f on.
        const auto tile = [&](auto tileFrames, auto count, int at, int f) {
            const int o = first + at * kLanes;
            productTile<decltype(tileFrames)::value, decltype(count)::value>(
                out + f * outStride + o, outStride, nOut - o, packed + at * kLanes, width, x, f * xStride, xStride,
                taps, nIn, bias != nullptr ? bias + o : nullptr, accumulate);
        };
        using One = std::integral_constant<int, 1>;
        const int tiled = frames - frames % kTileFrames;
        for (int at = 0; at < width && tiled > 0; at += kTileVectors)
            withConstant<kTileVectors>(width - at < kTileVectors ? width - at : kTileVectors, [&](auto count) {
                for (int f = 0; f < tiled; f += kTileFrames)
                    tile(std::integral_constant<int, kTileFrames>(), count, at, f);
            });
        for (int f = tiled; f < frames; ++f)
            withConstant<kBlockVectors>(width, [&](auto count) { tile(One(), count, 0, f); });
        packed += static_cast<long>(taps) * nIn * width * kLanes;
        first += width * kLanes;
    }
}

}  // namespace
}  // namespace KaTessel::kernels
