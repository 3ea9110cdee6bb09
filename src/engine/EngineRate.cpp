#include "katessel/EngineRate.hpp"

#include <new>

#include "katessel/CKaResample.h"

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

float resampledValue(const float* in, double between) {
    static SharedFilter filter;
    float value;
    filter.resampler.interp.render1(in, between, 0.0, &value, 1);
    return value;
}

}  // namespace KaTessel
