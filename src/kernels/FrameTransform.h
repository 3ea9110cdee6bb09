// The transform of one frame of 1024 real samples in vectors, with the factors ready-made.
//
// Even samples are the real and odd samples the imaginary parts of 512 complex points, which are a matrix of
// 512 / kLanes rows of kLanes columns. Every column is transformed by itself, one in each lane; each value is turned
// by its row and column; the matrix is transposed; and every row is transformed in the same way. Real and imaginary
// parts stay in vectors of their own from the loading of the samples on.
#pragma once

#include "kernels/FrameFactors.h"
#include "kernels/Vectors.h"

namespace KaTessel::kernels {
namespace {

constexpr int kFrameRows = kFramePoints / kLanes;

struct SplitVecs {
    Vec *re, *im;
};

// One butterfly of radix 4 with its factors, six floats; none where all of them are 1.
template <int kStride, int kStep>
KATESSEL_INLINE void butterfly4(SplitVecs from, SplitVecs to, const float* factors) {
    const Vec sum02Re = from.re[0] + from.re[2 * kStep], sum02Im = from.im[0] + from.im[2 * kStep];
    const Vec dif02Re = from.re[0] - from.re[2 * kStep], dif02Im = from.im[0] - from.im[2 * kStep];
    const Vec sum13Re = from.re[kStep] + from.re[3 * kStep], sum13Im = from.im[kStep] + from.im[3 * kStep];
    const Vec dif13Re = from.re[kStep] - from.re[3 * kStep], dif13Im = from.im[kStep] - from.im[3 * kStep];
    const Vec re[4] = {sum02Re + sum13Re, dif02Re + dif13Im, sum02Re - sum13Re, dif02Re - dif13Im};
    const Vec im[4] = {sum02Im + sum13Im, dif02Im - dif13Re, sum02Im - sum13Im, dif02Im + dif13Re};
    to.re[0] = re[0];
    to.im[0] = im[0];
    for (int m = 1; m < 4; ++m) {
        const bool turns = factors != nullptr;
        const float wRe = turns ? factors[2 * m - 2] : 1.0f, wIm = turns ? factors[2 * m - 1] : 0.0f;
        to.re[m * kStride] = turns ? re[m] * wRe - im[m] * wIm : re[m];
        to.im[m * kStride] = turns ? re[m] * wIm + im[m] * wRe : im[m];
    }
}

// Transforms kPoints rows of vectors, of which kStride sequences interleave, after Stockham: from one pair of arrays to
// the other and back, the results in order. Returns the pair that holds them.
template <int kPoints, int kStride = 1>
KATESSEL_INLINE SplitVecs transformRows(SplitVecs from, SplitVecs to, const float* factors) {
    if constexpr (kPoints == 1) {
        return from;
    } else if constexpr (kPoints == 2) {
        for (int q = 0; q < kStride; ++q) {
            to.re[q] = from.re[q] + from.re[q + kStride];
            to.im[q] = from.im[q] + from.im[q + kStride];
            to.re[q + kStride] = from.re[q] - from.re[q + kStride];
            to.im[q + kStride] = from.im[q] - from.im[q + kStride];
        }
        return to;
    } else {
        constexpr int kQuarter = kPoints / 4, kStep = kStride * kQuarter;
        const auto at = [=](int p, int q, const float* turns) {
            const int i = q + kStride * p, o = q + kStride * 4 * p;
            butterfly4<kStride, kStep>({from.re + i, from.im + i}, {to.re + o, to.im + o}, turns);
        };
        for (int q = 0; q < kStride; ++q) at(0, q, nullptr);
        for (int p = 1; p < kQuarter; ++p)
            for (int q = 0; q < kStride; ++q) at(p, q, factors + 6 * p);
        return transformRows<kQuarter, 4 * kStride>(to, from, factors + 6 * kQuarter);
    }
}

// The 512 complex points as two arrays, from the samples turned by half their number.
KATESSEL_INLINE void transformPoints(float* re, float* im, const float* samples, const FrameFactors& factors) {
    Vec aRe[kFrameRows], aIm[kFrameRows], bRe[kFrameRows], bIm[kFrameRows];
    for (int r = 0; r < kFrameRows; ++r) {
        const float* from = samples + (2 * kLanes * r + kFramePoints) % (2 * kFramePoints);
        const Vec first = load(from), second = load(from + kLanes);
        aRe[r] = evenLanes(first, second);
        aIm[r] = oddLanes(first, second);
    }
    const SplitVecs rows = transformRows<kFrameRows>({aRe, aIm}, {bRe, bIm}, factors.rows);
    for (int c = 0; c < kFrameRows; c += kLanes) {
        Vec turnedRe[kLanes], turnedIm[kLanes], otherRe[kLanes], otherIm[kLanes];
        for (int i = 0; i < kLanes; ++i) {
            const Vec wRe = loadAligned(factors.turnRe + (c + i) * kLanes);
            const Vec wIm = loadAligned(factors.turnIm + (c + i) * kLanes);
            turnedRe[i] = rows.re[c + i] * wRe - rows.im[c + i] * wIm;
            turnedIm[i] = rows.re[c + i] * wIm + rows.im[c + i] * wRe;
        }
        transpose(turnedRe);
        transpose(turnedIm);
        const SplitVecs columns = transformRows<kLanes>({turnedRe, turnedIm}, {otherRe, otherIm}, factors.columns);
        for (int d = 0; d < kLanes; ++d) {
            storeAligned(re + c + kFrameRows * d, columns.re[d]);
            storeAligned(im + c + kFrameRows * d, columns.im[d]);
        }
    }
}

void transformFrame(float* re, float* im, const float* samples, const FrameFactors& factors) {
    alignas(64) float zRe[kFramePoints + kLanes], zIm[kFramePoints + kLanes];
    transformPoints(zRe, zIm, samples, factors);
    zRe[kFramePoints] = zRe[0];
    zIm[kFramePoints] = zIm[0];
    // What belongs to the even and to the odd samples, from the values at k and at -k.
    for (int k = 0; k < kFramePoints; k += kLanes) {
        const int mirrored = kFramePoints - k - kLanes + 1;
        const Vec lowRe = loadAligned(zRe + k), lowIm = loadAligned(zIm + k);
        const Vec highRe = backwards(load(zRe + mirrored)), highIm = backwards(load(zIm + mirrored));
        const Vec mixRe = loadAligned(factors.mixRe + k), mixIm = loadAligned(factors.mixIm + k);
        const Vec oddRe = lowRe - highRe, oddIm = lowIm + highIm;
        storeAligned(re + k, 0.5f * (lowRe + highRe) + (oddRe * mixRe - oddIm * mixIm));
        storeAligned(im + k, 0.5f * (lowIm - highIm) + (oddRe * mixIm + oddIm * mixRe));
    }
    re[kFramePoints] = zRe[0] - zIm[0];
    im[kFramePoints] = im[0] = 0.0f;
}

}  // namespace
}  // namespace KaTessel::kernels
