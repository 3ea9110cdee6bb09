#include "katessel/Interpolator.h"

#include <cstdlib>

#include "kernels/Kernels.h"

namespace KaResample {
namespace {

// The FIR at one position, with the tap count known to the compiler.
template <int kTaps>
float interpolate(const float* in, const float* row, float between) {
    float a = 0.0f, b = 0.0f;
    for (int j = 0; j < kTaps; ++j) {
        a += in[j] * row[j];
        b += in[j] * row[kTaps + j];
    }
    return a + (b - a) * between;
}

// A renderer for a table of kPhases phases of kTaps taps.
template <int kTaps, int kPhases>
double renderFixed(const float* in, double pos, double step, float* out, int count, const float* table) {
    for (int k = 0; k < count; ++k, pos += step) {
        const int whole = static_cast<int>(pos);
        const double phase = (pos - whole) * kPhases;
        const int row = static_cast<int>(phase);
        out[k] = interpolate<kTaps>(in + whole, table + row * kTaps, static_cast<float>(phase - row));
    }
    return pos;
}

}  // namespace

Interpolator::~Interpolator() { std::free(table); }

void Interpolator::setFIR(double const* c, int newTaps, int newPhases, bool polyphase, double gain) {
    std::free(table);
    table = nullptr;
    taps = newTaps;
    phases = newPhases;
    const std::size_t floats = static_cast<std::size_t>(phases + 1) * static_cast<std::size_t>(taps);
    void* aligned = nullptr;
    if (posix_memalign(&aligned, 16, floats * sizeof(float)) != 0) return;
    table = static_cast<float*>(aligned);
    if (gain == 0.0) gain = phases;
    if (!polyphase) {
        for (int i = 0; i < phases * taps; ++i) table[i] = static_cast<float>(c[i] * gain);
        return;
    }
    for (int p = 0; p <= phases; ++p)
        for (int j = 0; j < taps; ++j)
            table[p * taps + j] = static_cast<float>(c[j * phases + phases - 1 - p] * gain);
}

double Interpolator::render1(float const* in, double pos, double step, float* out, int count) {
    return KaTessel::kernels::active->polyphase(out, count, in, pos, step, table, taps, phases);
}

double Interpolator::render1simd(float const* in, double pos, double step, float* out, int count) {
    return render1(in, pos, step, out, count);
}

double Interpolator::sse16x16(float const* in, double pos, double step, float* out, int count) {
    return renderFixed<16, 16>(in, pos, step, out, count, table);
}

double Interpolator::sse8x16(float const* in, double pos, double step, float* out, int count) {
    return renderFixed<8, 16>(in, pos, step, out, count, table);
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
