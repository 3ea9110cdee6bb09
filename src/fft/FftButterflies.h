// The radix-4 butterflies that all stages and fixed kernels share. Sign exp(+i ..).
//
// A block of N points is taken as four quarters; x0 .. x3 are the points with the same place in each. The result goes
// to the same places: quarter 0 holds what becomes the outputs 4q, quarter 1 those 4q + 2, quarter 2 those 4q + 1,
// quarter 3 those 4q + 3, which is why a finished transform is in bit-reversed order.
#pragma once

#include "fft/Complex.h"

namespace KaTessel {
namespace {

constexpr float kCosPi4 = 0.70710677f;
constexpr float kCosPi8 = 0.9238795f;
constexpr float kSinPi8 = 0.38268343f;
constexpr float kCosPi16 = 0.98078525f;
constexpr float kSinPi16 = 0.19509032f;
constexpr float kCos3Pi16 = 0.8314696f;
constexpr float kSin3Pi16 = 0.55557024f;

// First kind at point p of N: w1 = exp(i 2 pi p / N), w3 its third power.
// Leaves blocks of the kinds 1 2 1 1.
template <typename Real>
inline void butterfly1(ComplexOf<Real>& x0, ComplexOf<Real>& x1, ComplexOf<Real>& x2, ComplexOf<Real>& x3, Complex w1,
                       Complex w3) {
    const ComplexOf<Real> sum02 = x0 + x2, difference02 = x0 - x2;
    const ComplexOf<Real> sum13 = x1 + x3, turned13 = timesI(x1 - x3);
    x0 = sum02 + sum13;
    x1 = sum02 - sum13;
    x2 = (difference02 + turned13) * w1;
    x3 = (difference02 - turned13) * w3;
}

// The same at point 0, where both factors are 1.
template <typename Real>
inline void butterfly1(ComplexOf<Real>& x0, ComplexOf<Real>& x1, ComplexOf<Real>& x2, ComplexOf<Real>& x3) {
    const ComplexOf<Real> sum02 = x0 + x2, difference02 = x0 - x2;
    const ComplexOf<Real> sum13 = x1 + x3, turned13 = timesI(x1 - x3);
    x0 = sum02 + sum13;
    x1 = sum02 - sum13;
    x2 = difference02 + turned13;
    x3 = difference02 - turned13;
}

// Second kind at point p of N: w1 = exp(i pi p / N), w3 its third power; d1 and d3 are w1 exp(i pi / 4) and
// w3 exp(i 3 pi / 4). Leaves blocks of the kinds 1 2 1 2.
template <typename Real>
inline void butterfly2(ComplexOf<Real>& x0, ComplexOf<Real>& x1, ComplexOf<Real>& x2, ComplexOf<Real>& x3, Complex w1,
                       Complex d1, Complex w3, Complex d3) {
    const ComplexOf<Real> turned2 = timesI(x2), turned3 = timesI(x3);
    const ComplexOf<Real> even = (x0 + turned2) * w1, evenTurned = (x1 + turned3) * d1;
    const ComplexOf<Real> odd = (x0 - turned2) * w3, oddTurned = (x1 - turned3) * d3;
    x0 = even + evenTurned;
    x1 = even - evenTurned;
    x2 = odd + oddTurned;
    x3 = odd - oddTurned;
}

// A factor of the first kind turned by an eighth, its third power by three eighths of a full turn.
template <typename Real>
inline ComplexOf<Real> turnedByPi4(ComplexOf<Real> w) {
    return {(w.re - w.im) * kCosPi4, (w.re + w.im) * kCosPi4};
}

template <typename Real>
inline ComplexOf<Real> turnedBy3Pi4(ComplexOf<Real> w) {
    return {-(w.re + w.im) * kCosPi4, (w.re - w.im) * kCosPi4};
}

}  // namespace
}  // namespace KaTessel
