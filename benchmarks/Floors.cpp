#include "Floors.h"

#include <fftw3.h>

#include <algorithm>
#include <cstdlib>

namespace {

constexpr int kTaps = 41, kBins = 299;
constexpr std::size_t kWeights = 160000, kScratch = 100000;

float* alignedFloats(std::size_t n) {
    float* p = static_cast<float*>(std::aligned_alloc(64, (n * sizeof(float) + 63) / 64 * 64));
    for (std::size_t i = 0; i < n; ++i) p[i] = 0.1f * static_cast<float>(std::rand()) / static_cast<float>(RAND_MAX);
    return p;
}

struct Arrays {
    float* weights = alignedFloats(kWeights);
    float* in = alignedFloats(kScratch);
    float* out = alignedFloats(kScratch);
    fftwf_plan transform{}, transforms{};
    ~Arrays() {
        fftwf_destroy_plan(transform);
        fftwf_destroy_plan(transforms);
        for (float* p : {weights, in, out}) std::free(p);
    }
};

template <int kLanes>
struct Kernels {
    typedef float Vec __attribute__((vector_size(kLanes * 4)));
    typedef float Unaligned __attribute__((vector_size(kLanes * 4), aligned(4), may_alias));

    static Vec load(const float* p) { return *reinterpret_cast<const Unaligned*>(p); }
    static void store(float* p, Vec v) { *reinterpret_cast<Unaligned*>(p) = v; }

    // kVectors vectors of outputs from nIn inputs; returns what follows the weights.
    template <int kVectors>
    static const float* column(float* out, const float* w, const float* x, int nIn) {
        Vec sums[std::size_t{kVectors}] = {};
        for (int i = 0; i < nIn; ++i, w += kVectors * kLanes)
            for (int v = 0; v < kVectors; ++v) sums[v] += x[i] * load(w + v * kLanes);
        for (int v = 0; v < kVectors; ++v) store(out + v * kLanes, sums[v]);
        return w;
    }

    static const float* columns(float* out, const float* w, const float* x, int nIn, int nOut) {
        for (int left = (nOut + kLanes - 1) / kLanes; left > 0;) {
            const int width = left >= 9 ? 9 : left >= 8 ? 8 : left >= 5 ? 5 : 1;
            if (width == 9) w = column<9>(out, w, x, nIn);
            if (width == 8) w = column<8>(out, w, x, nIn);
            if (width == 5) w = column<5>(out, w, x, nIn);
            if (width == 1) w = column<1>(out, w, x, nIn);
            out += width * kLanes;
            left -= width;
        }
        return w;
    }

    static void network(float* out, const float* w, const float* x) {
        w = columns(out, w, x, 150, 70);
        for (int l = 0; l < 3; ++l) {
            w = columns(out + 256, w, out, 210, 140);
            w = columns(out + 512, w, out + 256, 70, 120);
        }
    }

    static void heads(float* out, const float* w, const float* x) {
        w = columns(out, w, x, 120, 120);
        columns(out + 256, w, out, 120, 2);
    }

    static void convolution(float* out, const float* x, const float* taps) {
        for (int k = 0; k < kBins; k += kLanes) {
            Vec re = {}, im = {}, re2 = {}, im2 = {};
            for (int t = 0; t + 1 < kTaps; t += 2) {
                re += taps[t] * load(x + k + t);
                im += taps[t] * load(x + 512 + k + t);
                re2 += taps[t + 1] * load(x + k + t + 1);
                im2 += taps[t + 1] * load(x + 512 + k + t + 1);
            }
            store(out + 2 * k, re + re2);
            store(out + 2 * k + kLanes, im + im2);
        }
    }

    static void laneConvolution(float* out, const float* x, const float* taps) {
        constexpr int kSide = kLanes == 16 ? 8 : 4;
        for (int k = 0; k < kBins; k += kSide) {
            Vec sums[std::size_t{2 * kSide}] = {};
            for (int t = 0; t < kTaps; ++t)
                for (int s = 0; s < 2 * kSide; ++s) sums[s] += taps[t] * load(x + (2 * (k + t) + s) * kLanes);
            for (int s = 0; s < 2 * kSide; ++s) store(out + (2 * k + s) * kLanes, sums[s]);
        }
    }

    static void resampling(float* out, const float* x, const float* taps) {
        constexpr int kChains = 8;
        Vec sums[kChains] = {};
        for (int i = 0; i < 120 * 32; i += kChains * kLanes)
            for (int c = 0; c < kChains; ++c) sums[c] += load(x + i + c * kLanes) * load(taps + i + c * kLanes);
        for (int c = 0; c < kChains; ++c) store(out + c * kLanes, sums[c]);
    }

    // Tiles of frames by vectors of outputs, as many as the registers hold.
    static void matrixProduct(float* out, const float* w, const float* x) {
        constexpr int kRows = kLanes == 16 ? 8 : 4, kVectors = kLanes == 4 ? 2 : 3, kIn = 210, kOut = 144;
        for (int o = 0; o + kVectors * kLanes <= kOut; o += kVectors * kLanes, w += kIn * kVectors * kLanes)
            for (int f = 0; f < Floors::kFrames; f += kRows) {
                Vec sums[std::size_t{kRows}][std::size_t{kVectors}] = {};
                for (int i = 0; i < kIn; ++i)
                    for (int r = 0; r < kRows; ++r)
                        for (int v = 0; v < kVectors; ++v)
                            sums[r][v] += x[(f + r) * 70 + i] * load(w + (i * kVectors + v) * kLanes);
                for (int r = 0; r < kRows; ++r)
                    for (int v = 0; v < kVectors; ++v) store(out + (f + r) * kOut + o + v * kLanes, sums[r][v]);
            }
    }
};

template <int kLanes>
Floors floorsOf(const std::shared_ptr<Arrays>& arrays) {
    using K = Kernels<kLanes>;
    float *w = arrays->weights, *x = arrays->in, *y = arrays->out;
    Floors floors;
    floors.transform = [arrays] { fftwf_execute(arrays->transform); };
    floors.transforms = [arrays] { fftwf_execute(arrays->transforms); };
    floors.convolution = [=] { K::convolution(y, x, w); };
    floors.network = [=] { K::network(y, w, x); };
    floors.heads = [=] { K::heads(y, w, x); };
    floors.resampling = [=] { K::resampling(y, x, w); };
    floors.laneConvolution = [=] { K::laneConvolution(y, x, w); };
    floors.matrixProduct = [=] { K::matrixProduct(y, w, x); };
    floors.lanes = kLanes;
    floors.arrays = arrays;
    return floors;
}

}  // namespace

Floors makeFloors(int lanes) {
    const auto arrays = std::make_shared<Arrays>();
    const int length = 1024, together = Floors::kTogether;
    auto* spectrum = reinterpret_cast<fftwf_complex*>(arrays->out);
    arrays->transform = fftwf_plan_dft_r2c_1d(length, arrays->in, spectrum, FFTW_MEASURE);
    arrays->transforms = fftwf_plan_many_dft_r2c(1, &length, together, arrays->in, nullptr, 1, length, spectrum,
                                                 nullptr, 1, length / 2 + 1, FFTW_MEASURE);
    std::fill_n(arrays->in, kScratch, 0.01f);  // planning left its own values
    return lanes == 16 ? floorsOf<16>(arrays) : lanes == 8 ? floorsOf<8>(arrays) : floorsOf<4>(arrays);
}
