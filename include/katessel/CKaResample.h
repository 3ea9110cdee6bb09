// Conversion of blocks from one sample rate to another, by the FIR of Interpolator.
#ifndef KATESSEL_CKARESAMPLE_H
#define KATESSEL_CKARESAMPLE_H

#include "katessel/Export.h"
#include "katessel/Interpolator.h"

namespace KaResample {

// Delays by 9 input samples. Every block starts at a whole input position: samples that a block does not consume
// are dropped, so a stream keeps all of them only when a block's length times the rate ratio is whole.
class KATESSEL_API CKaResample {
public:
    CKaResample();
    ~CKaResample();
    CKaResample(const CKaResample&) = delete;
    CKaResample& operator=(const CKaResample&) = delete;

    int maxBlock = 0;   // largest output block
    int maxRatio = 10;  // largest input rate / output rate
    float reserved[5] = {0.99535298f, -1.98870039f, 0.99334943f, -1.98866951f, 0.98873329f};  // not read
    int taps = 16;
    int phases = 16;
    Interpolator interp;
    float* work = nullptr;   // maxBlock * maxRatio + 32: the history, then the block
    float history[32] = {};  // the last samples of the blocks before

    // Allocates for blocks of up to maxBlock outputs and forgets the history. Returns 0.
    int configure(int maxBlock);

    // Converts one block.
    //   in      the (int)(numOut * ratio + 0.5) samples that the block consumes
    //   out     numOut samples
    //   ratio   input rate / output rate, at most maxRatio
    // Returns 0. Allocates nothing.
    int doProcess(float* in, float* out, float ratio, int numOut);

    // The same for a block that holds only numIn samples: what it lacks reads as 0.
    int doProcess(const float* in, int numIn, float* out, float ratio, int numOut);

    // Samples that a block of numOut outputs consumes.
    static int consumedSamples(float ratio, int numOut);
};

}  // namespace KaResample

#endif
