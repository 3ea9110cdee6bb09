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
    template <typename Positions>
    PhaseRow(const Positions& at, const float* table, int phases) : whole(at.whole()) {
        const double phase = at.between() * phases;
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

// A vector of every second sample: all outputs are of one phase, and neighbouring taps meet the even and the odd samples.
KATESSEL_INLINE Vec halved(const float* in, const float* taps) {
    Vec sums[2] = {};
    for (int j = 0; j < kFilterTaps; j += 2) {
        const Vec low = load(in + j), high = load(in + j + kLanes);
        sums[0] += taps[j] * evenLanes(low, high);
        sums[1] += taps[j + 1] * oddLanes(low, high);
    }
    return sums[0] + sums[1];
}

template <typename Positions>
void halvingPolyphase(float* out, int count, const float* in, const Positions& at, const float* table, int phases) {
    const PhaseRow phase(at, table, phases);
    float taps[kFilterTaps];
    for (int j = 0; j < kFilterTaps; j += kLanes) store(taps + j, phase.taps(j));
    const float* first = in + phase.whole;
    int k = 0;
    for (; k + kLanes <= count; k += kLanes) store(out + k, halved(first + 2 * k, taps));
    if (k < count) {  // in the same order of sums, so that it does not matter where a block ends
        float samples[2 * kLanes + kFilterTaps] = {}, last[kLanes];
        for (int i = 0; i < 2 * (count - k - 1) + kFilterTaps; ++i) samples[i] = first[2 * k + i];
        store(last, halved(samples, taps));
        for (int l = 0; k < count; ++k, ++l) out[k] = last[l];
    }
}

template <typename Positions>
void polyphaseAt(float* out, int count, const float* in, Positions& at, const float* table, int taps, int phases) {
    if (taps != kFilterTaps) return polyphaseBy(dot, out, count, in, at, table, taps, phases);
    for (int k = 0; k < count; k += kLanes) {
        const int outputs = count - k < kLanes ? count - k : kLanes;
        Vec products[kLanes] = {};
        for (int l = 0; l < outputs; ++l, at.advance()) {
            const PhaseRow phase(at, table, phases);
            for (int j = 0; j < kFilterTaps; j += kLanes) products[l] += load(in + phase.whole + j) * phase.taps(j);
        }
        float sums[kLanes];
        store(sums, sumsOfAll(products));
        for (int l = 0; l < outputs; ++l) out[k + l] = sums[l];
    }
}

double polyphase(float* out, int count, const float* in, double pos, double step, const float* table, int taps,
                 int phases) {
    SteppedPositions at = {pos, step};
    if (step == 2.0 && taps == kFilterTaps) {
        halvingPolyphase(out, count, in, at, table, phases);
        return pos + 2.0 * count;
    }
    polyphaseAt(out, count, in, at, table, taps, phases);
    return at.pos;
}

void countedPolyphase(float* out, int count, const float* in, int part, int step, int parts, const float* table,
                      int taps, int phases) {
    CountedPositions at(part, step, parts);
    if (step == 2 * parts && taps == kFilterTaps) return halvingPolyphase(out, count, in, at, table, phases);
    polyphaseAt(out, count, in, at, table, taps, phases);
}

}  // namespace
}  // namespace KaTessel::kernels
