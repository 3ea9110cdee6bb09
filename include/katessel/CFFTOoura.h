// Split-radix Fourier transform without tables, after Takuya Ooura's general purpose FFT package (1996-2001).
//
// Works in place on interleaved complex values, element k at a[2k] (real) and a[2k + 1] (imaginary). Every n is
// a length in floats, twice the number of complex points, and a power of two. MRSpectrum::rFFT puts the pieces
// together. Sums use the sign exp(+i 2 pi jk / N) and are not scaled.
#ifndef KATESSEL_CFFTOOURA_H
#define KATESSEL_CFFTOOURA_H

#include "katessel/Export.h"

namespace KaTessel {

// Stateless: one instance may be used for any length and by several threads.
//
// A stage of radix 4 splits a block of N points into four blocks of N/4 that still have to be transformed. Such
// a block is of the first kind (a plain transform remains) or of the second kind (a transform at frequencies
// k + 1/2 remains). A block of the first kind leaves blocks of the kinds 1 2 1 1, one of the second 1 2 1 2.
class KATESSEL_API CFFTOoura {
public:
    // Whole complex transforms of n/2 points, the result in natural order.
    void forward(int n, float* a);   // sum of a[j] exp(+i 2 pi jk / N); n a power of two
    void backward(int n, float* a);  // sum of a[j] exp(-i 2 pi jk / N)

    // From the forward transform Z of n/2 points z[j] = x[2j] + i x[2j + 1] to that of the n real x, bins 1 ..
    // n/2 - 1 in place; the halves of bin 0 still have to be folded. n above 4. And exactly back.
    void realPost(int n, float* a);
    void realPre(int n, float* a);

    void bitrv2(int n, float* a);      // reorders n/2 points by reversed index bits
    void bitrv2conj(int n, float* a);  // the same, and conjugates
    void cftb1st(int n, float* a);     // cftmdl1 of the conjugated block: the first stage backward; n at least 32
    void cftmdl1(int n, float* a);     // stage of a block of the first kind; n at least 32
    void cftmdl2(int n, float* a);     // stage of a block of the second kind; n at least 32
    void cftf161(float* a);            // 16 points of the first kind, result bit-reversed
    void cftf162(float* a);            // 16 points of the second kind, result bit-reversed
    void cftf081(float* a);            // 8 points of the first kind, result bit-reversed
    void cftf082(float* a);            // 8 points of the second kind, result bit-reversed
    void cftf040(float* a);            // 4 points, result in natural order
    void cftfx41(int n, float* a);     // the four blocks left by a stage of the first kind; n = 64 or 128
    void cftleaf(int n, int isplt, float* a);  // the four blocks left by a stage of kind 1 (isplt 1) or 2 (isplt
                                               // 0); n = 256 or 512
    void cftrec4(int n, float* a);             // the blocks left by a stage of the first kind, depth first; n above 512
};

}  // namespace KaTessel

#endif
