// The fixed transforms that end the recursion: 16, 8 and 4 points, written out; of the first and second kind, their
// results bit-reversed.
#pragma once

#include <cstddef>

#include "fft/FftButterflies.h"

namespace KaTessel {
namespace {

// Four points that are a whole block.
template <typename Real>
inline void four1(ComplexOf<Real>* x) {
    butterfly1(x[0], x[1], x[2], x[3]);
}

template <typename Real>
inline void four2(ComplexOf<Real>* x) {
    const ComplexOf<Real> turned2 = timesI(x[2]), turned3 = timesI(x[3]);
    const ComplexOf<Real> even = x[0] + turned2, evenTurned = turnedByPi4(x[1] + turned3);
    const ComplexOf<Real> odd = x[0] - turned2, oddTurned = turnedBy3Pi4(x[1] - turned3);
    x[0] = even + evenTurned;
    x[1] = even - evenTurned;
    x[2] = odd + oddTurned;
    x[3] = odd - oddTurned;
}

// Two points that are a whole block.
template <typename Real>
inline void two1(ComplexOf<Real>* x) {
    const ComplexOf<Real> difference = x[0] - x[1];
    x[0] = x[0] + x[1];
    x[1] = difference;
}

template <typename Real>
inline void two2(ComplexOf<Real>* x) {
    const ComplexOf<Real> turned = timesI(x[1]);
    x[1] = x[0] - turned;
    x[0] = x[0] + turned;
}

template <typename Real, std::size_t kPoints>
inline void readPoints(ComplexOf<Real> (&x)[kPoints], const Real* a) {
    for (int k = 0; k < int{kPoints}; ++k) x[k] = get(a, k);
}

template <typename Real, std::size_t kPoints>
inline void writePoints(const ComplexOf<Real> (&x)[kPoints], Real* a) {
    for (int k = 0; k < int{kPoints}; ++k) set(a, k, x[k]);
}

template <typename Real>
void sixteen1(Real* a) {
    ComplexOf<Real> x[16];
    readPoints(x, a);
    butterfly1(x[0], x[4], x[8], x[12]);
    butterfly1(x[1], x[5], x[9], x[13], {kCosPi8, kSinPi8}, {kSinPi8, kCosPi8});
    butterfly1(x[2], x[6], x[10], x[14], {kCosPi4, kCosPi4}, {-kCosPi4, kCosPi4});
    butterfly1(x[3], x[7], x[11], x[15], {kSinPi8, kCosPi8}, {-kCosPi8, -kSinPi8});
    four1(x);
    four2(x + 4);
    four1(x + 8);
    four1(x + 12);
    writePoints(x, a);
}

template <typename Real>
void sixteen2(Real* a) {
    ComplexOf<Real> x[16];
    readPoints(x, a);
    butterfly2(x[0], x[4], x[8], x[12], {1.0f, 0.0f}, {kCosPi4, kCosPi4}, {1.0f, 0.0f}, {-kCosPi4, kCosPi4});
    butterfly2(x[1], x[5], x[9], x[13], {kCosPi16, kSinPi16}, {kSin3Pi16, kCos3Pi16}, {kCos3Pi16, kSin3Pi16},
               {-kCosPi16, kSinPi16});
    butterfly2(x[2], x[6], x[10], x[14], {kCosPi8, kSinPi8}, {kSinPi8, kCosPi8}, {kSinPi8, kCosPi8},
               {-kCosPi8, -kSinPi8});
    butterfly2(x[3], x[7], x[11], x[15], {kCos3Pi16, kSin3Pi16}, {kSinPi16, kCosPi16}, {-kSinPi16, kCosPi16},
               {-kSin3Pi16, -kCos3Pi16});
    four1(x);
    four2(x + 4);
    four1(x + 8);
    four2(x + 12);
    writePoints(x, a);
}

template <typename Real>
void eight1(Real* a) {
    ComplexOf<Real> x[8];
    readPoints(x, a);
    butterfly1(x[0], x[2], x[4], x[6]);
    butterfly1(x[1], x[3], x[5], x[7], {kCosPi4, kCosPi4}, {-kCosPi4, kCosPi4});
    two1(x);
    two2(x + 2);
    two1(x + 4);
    two1(x + 6);
    writePoints(x, a);
}

template <typename Real>
void eight2(Real* a) {
    ComplexOf<Real> x[8];
    readPoints(x, a);
    butterfly2(x[0], x[2], x[4], x[6], {1.0f, 0.0f}, {kCosPi4, kCosPi4}, {1.0f, 0.0f}, {-kCosPi4, kCosPi4});
    butterfly2(x[1], x[3], x[5], x[7], {kCosPi8, kSinPi8}, {kSinPi8, kCosPi8}, {kSinPi8, kCosPi8},
               {-kCosPi8, -kSinPi8});
    two1(x);
    two2(x + 2);
    two1(x + 4);
    two2(x + 6);
    writePoints(x, a);
}

template <typename Real>
void fourInOrder(Real* a) {
    ComplexOf<Real> x[4];
    readPoints(x, a);
    four1(x);
    set(a, 0, x[0]);
    set(a, 1, x[2]);
    set(a, 2, x[1]);
    set(a, 3, x[3]);
}

}  // namespace
}  // namespace KaTessel
