#include "katessel/Interpolator.h"

#include <new>

#include "kernels/Kernels.h"

namespace KaResample {

namespace {

constexpr std::align_val_t kTableAlignment{16};

}  // namespace

Interpolator::~Interpolator() { operator delete[](table, kTableAlignment); }

void Interpolator::setFIR(double const* c, int newTaps, int newPhases, bool polyphase, double gain) {
    operator delete[](table, kTableAlignment);
    table = nullptr;
    taps = newTaps;
    phases = newPhases;
    const std::size_t floats = static_cast<std::size_t>(phases + 1) * static_cast<std::size_t>(taps);
    table = static_cast<float*>(operator new[](floats * sizeof(float), kTableAlignment, std::nothrow));
    if (table == nullptr) return;
    if (gain == 0.0) gain = phases;
    if (!polyphase) {
        for (int i = 0; i < phases * taps; ++i) table[i] = static_cast<float>(c[i] * gain);
        return;
    }
    for (int p = 0; p <= phases; ++p)
        for (int j = 0; j < taps; ++j) table[p * taps + j] = static_cast<float>(c[j * phases + phases - 1 - p] * gain);
}

double Interpolator::render1(float const* in, double pos, double step, float* out, int count) {
    return KaTessel::kernels::active->polyphase(out, count, in, pos, step, table, taps, phases);
}

double Interpolator::render1simd(float const* in, double pos, double step, float* out, int count) {
    return render1(in, pos, step, out, count);
}

// These two add up in one order on every machine.
double Interpolator::sse16x16(float const* in, double pos, double step, float* out, int count) {
    return KaTessel::kernels::kScalar.polyphase(out, count, in, pos, step, table, 16, 16);
}

double Interpolator::sse8x16(float const* in, double pos, double step, float* out, int count) {
    return KaTessel::kernels::kScalar.polyphase(out, count, in, pos, step, table, 8, 16);
}

double Interpolator::linear(float const* in, double pos, double step, float* out, int count) {
    for (int k = 0; k < count; ++k, pos += step) {
        const int whole = static_cast<int>(pos);
        const float between = static_cast<float>(pos - whole);
        out[k] = in[whole] + (in[whole + 1] - in[whole]) * between;
    }
    return pos;
}

}  // namespace KaResample
