// A complex value in registers, and its place in an interleaved array.
//
// std::complex multiplies with checks for infinities that a transform has no use for.
//
// The transform's code is templates over Real, float for one signal or a vector for several side by side, and lives in
// an unnamed namespace on purpose: every file that includes it is compiled for an instruction set of its own, and the
// linker must not put one copy in the place of another.
#pragma once

namespace KaTessel {
namespace {

template <typename Real>
struct ComplexOf {
    Real re, im;
};

using Complex = ComplexOf<float>;

template <typename Real>
inline ComplexOf<Real> operator+(ComplexOf<Real> a, ComplexOf<Real> b) {
    return {a.re + b.re, a.im + b.im};
}

template <typename Real>
inline ComplexOf<Real> operator-(ComplexOf<Real> a, ComplexOf<Real> b) {
    return {a.re - b.re, a.im - b.im};
}

// The factor is one for all signals.
template <typename Real>
inline ComplexOf<Real> operator*(ComplexOf<Real> a, Complex b) {
    return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}

template <typename Real>
inline ComplexOf<Real> timesI(ComplexOf<Real> a) {
    return {-a.im, a.re};
}

template <typename Real>
inline ComplexOf<Real> conjugate(ComplexOf<Real> a) {
    return {a.re, -a.im};
}

template <typename Real>
inline ComplexOf<Real> get(const Real* a, int k) {
    return {a[2 * k], a[2 * k + 1]};
}

template <typename Real>
inline void set(Real* a, int k, ComplexOf<Real> value) {
    a[2 * k] = value.re;
    a[2 * k + 1] = value.im;
}

}  // namespace
}  // namespace KaTessel
