// The polyphase FIR over a dot product, for the variants of the kernel to share.
#pragma once

namespace KaTessel::kernels {
namespace {  // as in the transform: every variant compiles its own copy

// What Kernels::polyphase says, with dot(a, b, n) for the products.
template <typename Dot>
inline double polyphaseBy(Dot dot, float* out, int count, const float* in, double pos, double step, const float* table,
                          int taps, int phases) {
    for (int k = 0; k < count; ++k, pos += step) {
        const int whole = static_cast<int>(pos);
        const double phase = (pos - whole) * phases;
        const int row = static_cast<int>(phase);
        const float rest = static_cast<float>(phase - row);
        const float a = dot(in + whole, table + row * taps, taps);
        const float b = dot(in + whole, table + (row + 1) * taps, taps);
        out[k] = a + (b - a) * rest;
    }
    return pos;
}

}  // namespace
}  // namespace KaTessel::kernels
