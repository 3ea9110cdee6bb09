// The polyphase FIR in vectors: a vector of outputs at a time.
#pragma once

#include "kernels/Polyphase.h"
#include "kernels/VectorProducts.h"
#include "kernels/Vectors.h"

namespace KaTessel::kernels {
namespace {

constexpr int kFilterTaps = 16;  // of the filters that are rendered this way

// The row between two rows of the table that belongs to a position.
struct PhaseRow {
    PhaseRow(double pos, const float* table, int phases) : whole(static_cast<int>(pos)) {
        const double phase = (pos - whole) * phases;
        const int number = static_cast<int>(phase);
        rest = static_cast<float>(phase - number);
        row = table + number * kFilterTaps;
    }
    KATESSEL_INLINE Vec taps(int j) const {
        const Vec before = load(row + j);
        return before + (load(row + kFilterTaps + j) - before) * rest;
    }
    int whole;
    float rest;
    const float* row;
};

// Every second sample: all outputs are of one phase, and neighbouring taps meet the even and the odd samples.
double halvingPolyphase(float* out, int count, const float* in, double pos, const float* table, int phases) {
    const PhaseRow phase(pos, table, phases);
    float taps[kFilterTaps];
    for (int j = 0; j < kFilterTaps; j += kLanes) store(taps + j, phase.taps(j));
    const float* first = in + phase.whole;
    for (int k = 0; k < count; k += kLanes, first += 2 * kLanes) {
        Vec sums[2] = {};
        for (int j = 0; j < kFilterTaps; j += 2) {
            const Vec low = load(first + j), high = load(first + j + kLanes);
            sums[0] += taps[j] * evenLanes(low, high);
            sums[1] += taps[j + 1] * oddLanes(low, high);
        }
        store(out + k, sums[0] + sums[1]);
    }
    return pos + 2.0 * count;
}

double polyphase(float* out, int count, const float* in, double pos, double step, const float* table, int taps,
                 int phases) {
    int k = 0;
    if (taps == kFilterTaps) {
        if (step == 2.0 && count >= kLanes) {
            k = count - count % kLanes;
            pos = halvingPolyphase(out, k, in, pos, table, phases);
        }
        for (; k + kLanes <= count; k += kLanes) {
            Vec products[kLanes];
            for (int l = 0; l < kLanes; ++l, pos += step) {
                const PhaseRow phase(pos, table, phases);
                products[l] = Vec{};
                for (int j = 0; j < kFilterTaps; j += kLanes) products[l] += load(in + phase.whole + j) * phase.taps(j);
            }
            store(out + k, sumsOfAll(products));
        }
    }
    return polyphaseBy(dot, out + k, count - k, in, pos, step, table, taps, phases);
}

}  // namespace
}  // namespace KaTessel::kernels
