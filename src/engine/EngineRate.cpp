#include "katessel/EngineRate.hpp"

#include <new>

#include "katessel/CKaResample.h"
#include "kernels/Kernels.h"

namespace KaTessel {
namespace {

// The resampler's filter without its history. Only its table is read, so threads may share it.
struct SharedFilter {
    SharedFilter() {
        if (resampler.interp.table == nullptr) throw std::bad_alloc();
    }
    KaResample::CKaResample resampler;
};

}  // namespace

void resampledValues(const float* in, int part, int rate, float* out, int count) {
    static SharedFilter filter;
    const KaResample::Interpolator& interp = filter.resampler.interp;
    kernels::active->countedPolyphase(out, count, in, part, rate, facts::kRate, interp.table, interp.taps,
                                      interp.phases);
}

}  // namespace KaTessel
