// Whole transforms from stages, leaves and kernels.
#pragma once

#include "fft/FftKernels.h"
#include "fft/FftPermutation.h"
#include "fft/FftStages.h"

namespace KaTessel {
namespace {

constexpr int kRecursive = 512;  // longer blocks go depth first, so that a block stays in the cache until done
constexpr int kLeaf = 128;       // blocks are split by stages while longer than this

template <typename Real>
void conjugateAll(int n, Real* a) {
    for (int k = 1; k < n; k += 2) a[k] = -a[k];
}

template <typename Real>
void stage(bool firstKind, int n, Real* a) {
    if (firstKind)
        firstKindStage<false>(n, a);
    else
        secondKindStage(n, a);
}

// The stages above leaf number `leaf` (counted from the end, from 1) of n floats that ends at `end`, as far as no
// leaf before has done them. Returns whether the leaf is of the first kind.
//
// Every fourth leaf is the last quarter of a longer block, which may be the last quarter of one longer still: that
// block's stages come first. A last quarter has its block's kind; the others alternate.
template <typename Real>
bool stagesAboveLeaf(int n, int leaf, Real* end) {
    while (leaf % 4 == 0) {
        leaf /= 4;
        n *= 4;
    }
    const bool firstKind = leaf % 2 != 0;
    for (; n > kLeaf; n /= 4) stage(firstKind, n, end - n);
    return firstKind;
}

// The four blocks that a stage of the first kind leaves; n = 64 or 128 floats.
template <typename Real>
void shortBlocks(int n, Real* a) {
    if (n == 128) {
        sixteen1(a);
        sixteen2(a + 32);
        sixteen1(a + 64);
        sixteen1(a + 96);
    } else {
        eight1(a);
        eight2(a + 16);
        eight1(a + 32);
        eight1(a + 48);
    }
}

// The four blocks that a stage leaves; n = 256 or 512 floats.
template <typename Real>
void leafBlocks(int n, bool ofFirstKind, Real* a) {
    for (int q = 0; q < 4; ++q) {
        Real* block = a + q * (n / 4);
        const bool firstKind = q == 0 || q == 2 || (q == 3 && ofFirstKind);
        stage(firstKind, n / 4, block);
        if (firstKind) {
            shortBlocks(n / 4, block);
        } else if (n == 512) {
            sixteen1(block);
            sixteen2(block + 32);
            sixteen1(block + 64);
            sixteen2(block + 96);
        } else {
            eight1(block);
            eight2(block + 16);
            eight1(block + 32);
            eight2(block + 48);
        }
    }
}

// The blocks that a stage of the first kind leaves, depth first; n above 512 floats.
template <typename Real>
void recursiveBlocks(int n, Real* a) {
    int m = n;
    while (m > kRecursive) {
        m /= 4;
        firstKindStage<false>(m, a + n - m);
    }
    leafBlocks(m, true, a + n - m);
    int leaf = 0;
    for (int end = n - m; end > 0; end -= m) {
        ++leaf;
        const bool firstKind = stagesAboveLeaf(m, leaf, a + end);
        leafBlocks(m, firstKind, a + end - m);
    }
}

// What follows the first stage of a whole transform, up to the order of the result.
template <typename Real>
void afterFirstStage(int n, Real* a) {
    if (n > kRecursive)
        recursiveBlocks(n, a);
    else if (n > kLeaf)
        leafBlocks(n, true, a);
    else
        shortBlocks(n, a);
}

// Sum of a[j] exp(+i 2 pi jk / N) for n / 2 points.
template <typename Real>
void forwardTransform(int n, Real* a) {
    if (n > 32) {
        firstKindStage<false>(n, a);
        afterFirstStage(n, a);
        reverseBits<false>(n, a);
    } else if (n == 32) {
        sixteen1(a);
        reverseBits<false>(n, a);
    } else if (n == 16) {
        eight1(a);
        reverseBits<false>(n, a);
    } else if (n == 8) {
        fourInOrder(a);
    } else if (n == 4) {
        const ComplexOf<Real> x0 = get(a, 0), x1 = get(a, 1);
        set(a, 0, x0 + x1);
        set(a, 1, x0 - x1);
    }
}

// The same with exp(-i ..): conjugating input and result turns the sign.
template <typename Real>
void backwardTransform(int n, Real* a) {
    if (n > 32) {
        firstKindStage<true>(n, a);
        afterFirstStage(n, a);
        reverseBits<true>(n, a);
    } else {
        conjugateAll(n, a);
        forwardTransform(n, a);
        conjugateAll(n, a);
    }
}

}  // namespace
}  // namespace KaTessel
