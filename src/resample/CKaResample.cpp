#include "katessel/CKaResample.h"

#include <algorithm>

#include "base/NewFloats.h"

namespace KaResample {
namespace {

#include "resample/PrototypeTable.inc"

constexpr int kHistory = 32;             // input samples kept from the blocks before
constexpr double kFirstPosition = 16.0;  // of the first output in `work`; 9 samples before the block, with the FIR's
                                         // centre 7 samples on

}  // namespace

CKaResample::CKaResample() { interp.setFIR(kPrototype + 1, taps, phases, true, 16.0); }

CKaResample::~CKaResample() { delete[] work; }

int CKaResample::configure(int newMaxBlock) {
    maxBlock = newMaxBlock;
    std::fill_n(history, kHistory, 0.0f);
    delete[] work;
    work = nullptr;
    work = KaTessel::newFloats(static_cast<long>(maxBlock) * maxRatio + kHistory);
    return 0;
}

int CKaResample::consumedSamples(float ratio, int numOut) {
    return static_cast<int>(static_cast<float>(numOut) * ratio + 0.5f);
}

int CKaResample::doProcess(float* in, float* out, float ratio, int numOut) {
    return doProcess(in, consumedSamples(ratio, numOut), out, ratio, numOut);
}

int CKaResample::doProcess(const float* in, int numIn, float* out, float ratio, int numOut) {
    const int consumed = consumedSamples(ratio, numOut);
    const int copied = std::min(consumed, numIn);
    std::copy_n(history, kHistory, work);
    std::copy_n(in, copied, work + kHistory);
    std::fill_n(work + kHistory + copied, consumed - copied, 0.0f);
    // Every block starts at a whole input position; the phase reached at the end of the block before is dropped:
    // deliberate, see docs/hosts.md.
    interp.render1(work, kFirstPosition, static_cast<double>(ratio), out, numOut);
    std::copy_n(work + consumed, kHistory, history);
    return 0;
}

}  // namespace KaResample
