// Whole transforms from stages, leaves and kernels.
#include "dsp/Complex.h"
#include "katessel/CFFTOoura.h"

namespace KaTessel {
namespace {

constexpr int kRecursive = 512;  // longer blocks go depth first, so that a block stays in the cache until done
constexpr int kLeaf = 128;       // blocks are split by stages while longer than this

void conjugateAll(int n, float* a) {
    for (int k = 1; k < n; k += 2) a[k] = -a[k];
}

void stage(CFFTOoura& fft, bool firstKind, int n, float* a) {
    if (firstKind)
        fft.cftmdl1(n, a);
    else
        fft.cftmdl2(n, a);
}

// The stages above leaf number `leaf` (counted from the end, from 1) of n floats that ends at `end`, as far as no
// leaf before has done them. Returns whether the leaf is of the first kind.
//
// Every fourth leaf is the last quarter of a longer block, which may be the last quarter of one longer still: that
// block's stages come first. A last quarter has its block's kind; the others alternate.
bool stagesAboveLeaf(CFFTOoura& fft, int n, int leaf, float* end) {
    while (leaf % 4 == 0) {
        leaf /= 4;
        n *= 4;
    }
    const bool firstKind = leaf % 2 != 0;
    for (; n > kLeaf; n /= 4) stage(fft, firstKind, n, end - n);
    return firstKind;
}

}  // namespace

void CFFTOoura::cftfx41(int n, float* a) {
    if (n == 128) {
        cftf161(a);
        cftf162(a + 32);
        cftf161(a + 64);
        cftf161(a + 96);
    } else {
        cftf081(a);
        cftf082(a + 16);
        cftf081(a + 32);
        cftf081(a + 48);
    }
}

void CFFTOoura::cftleaf(int n, int isplt, float* a) {
    for (int q = 0; q < 4; ++q) {
        float* block = a + q * (n / 4);
        const bool firstKind = q == 0 || q == 2 || (q == 3 && isplt != 0);
        stage(*this, firstKind, n / 4, block);
        if (firstKind) {
            cftfx41(n / 4, block);
        } else if (n == 512) {
            cftf161(block);
            cftf162(block + 32);
            cftf161(block + 64);
            cftf162(block + 96);
        } else {
            cftf081(block);
            cftf082(block + 16);
            cftf081(block + 32);
            cftf082(block + 48);
        }
    }
}

void CFFTOoura::cftrec4(int n, float* a) {
    int m = n;
    while (m > kRecursive) {
        m /= 4;
        cftmdl1(m, a + n - m);
    }
    cftleaf(m, 1, a + n - m);
    int leaf = 0;
    for (int end = n - m; end > 0; end -= m) {
        ++leaf;
        const bool firstKind = stagesAboveLeaf(*this, m, leaf, a + end);
        cftleaf(m, firstKind, a + end - m);
    }
}

void CFFTOoura::forward(int n, float* a) {
    if (n > 32) {
        cftmdl1(n, a);
        if (n > kRecursive)
            cftrec4(n, a);
        else if (n > kLeaf)
            cftleaf(n, 1, a);
        else
            cftfx41(n, a);
        bitrv2(n, a);
    } else if (n == 32) {
        cftf161(a);
        bitrv2(n, a);
    } else if (n == 16) {
        cftf081(a);
        bitrv2(n, a);
    } else if (n == 8) {
        cftf040(a);
    } else if (n == 4) {
        const Complex x0 = get(a, 0), x1 = get(a, 1);
        set(a, 0, x0 + x1);
        set(a, 1, x0 - x1);
    }
}

// Conjugating the input and the result of a forward transform turns its sign.
void CFFTOoura::backward(int n, float* a) {
    if (n > 32) {
        cftb1st(n, a);
        if (n > kRecursive)
            cftrec4(n, a);
        else if (n > kLeaf)
            cftleaf(n, 1, a);
        else
            cftfx41(n, a);
        bitrv2conj(n, a);
    } else {
        conjugateAll(n, a);
        forward(n, a);
        conjugateAll(n, a);
    }
}

}  // namespace KaTessel
