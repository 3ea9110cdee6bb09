// The radix-4 stages of the transform, with their twiddle factors computed on the way.
//
// The factors of point p and of its mirror image in the quarter are the same numbers, so both are done together and
// the walk covers half a quarter.
#pragma once

#include "fft/FftButterflies.h"
#include "fft/PhaseWalk.h"

namespace KaTessel {
namespace {

constexpr double kHalfPi = 1.57079632679489661923;
constexpr int kStageBlockPoints = 64;  // 128 floats

// Runs a butterfly over the points with place p in each quarter.
template <bool kConjugateInput, typename Real, typename Butterfly>
inline void atPoint(Real* a, int quarter, int p, Butterfly butterfly) {
    ComplexOf<Real> x[4];
    for (int q = 0; q < 4; ++q) {
        x[q] = get(a, p + q * quarter);
        if (kConjugateInput) x[q] = conjugate(x[q]);
    }
    butterfly(x[0], x[1], x[2], x[3]);
    for (int q = 0; q < 4; ++q) set(a, p + q * quarter, x[q]);
}

// Stage of a block of the first kind, of n floats.
template <bool kConjugateInput, typename Real>
void firstKindStage(int n, Real* a) {
    using Point = ComplexOf<Real>;
    const int quarter = n / 8;
    const auto at = [a, quarter](int p, Complex w1, Complex w3) {
        atPoint<kConjugateInput>(
            a, quarter, p, [=](Point& x0, Point& x1, Point& x2, Point& x3) { butterfly1(x0, x1, x2, x3, w1, w3); });
    };
    PhaseWalk<true> walk(static_cast<float>(kHalfPi / (n / 4)), 0, 1, kStageBlockPoints);
    at(0, {1.0f, 0.0f}, {1.0f, 0.0f});
    for (int p = 1; p < quarter / 2; ++p) {
        walk.advance();
        const Complex w1 = walk.first(), w3 = walk.third();
        at(p, w1, w3);
        at(quarter - p, {w1.im, w1.re}, {-w3.im, -w3.re});
    }
    at(quarter / 2, {kCosPi4, kCosPi4}, {-kCosPi4, kCosPi4});
}

// Stage of a block of the second kind.
template <typename Real>
void secondKindStage(int n, Real* a) {
    using Point = ComplexOf<Real>;
    const int quarter = n / 8;
    const auto at = [a, quarter](int p, Complex w1, Complex d1, Complex w3, Complex d3) {
        atPoint<false>(a, quarter, p,
                       [=](Point& x0, Point& x1, Point& x2, Point& x3) { butterfly2(x0, x1, x2, x3, w1, d1, w3, d3); });
    };
    // Frequencies shifted by half a bin: half the angle of the first kind.
    PhaseWalk<true> walk(static_cast<float>(kHalfPi / (n / 4)) * 0.5f, 0, 1, kStageBlockPoints);
    at(0, {1.0f, 0.0f}, {kCosPi4, kCosPi4}, {1.0f, 0.0f}, {-kCosPi4, kCosPi4});
    for (int p = 1; p < quarter / 2; ++p) {
        walk.advance();
        const Complex w1 = walk.first(), w3 = walk.third();
        const Complex d1 = turnedByPi4(w1), d3 = turnedBy3Pi4(w3);
        at(p, w1, d1, w3, d3);
        at(quarter - p, {d1.im, d1.re}, {w1.im, w1.re}, {-d3.im, -d3.re}, {-w3.im, -w3.re});
    }
    at(quarter / 2, {kCosPi8, kSinPi8}, {kSinPi8, kCosPi8}, {kSinPi8, kCosPi8}, {-kCosPi8, -kSinPi8});
}

}  // namespace
}  // namespace KaTessel
