// A complex value in registers, and its place in an interleaved array.
//
// std::complex multiplies with checks for infinities that a transform has no use for.
#pragma once

namespace KaTessel {

struct Complex {
    float re, im;
};

inline Complex operator+(Complex a, Complex b) { return {a.re + b.re, a.im + b.im}; }
inline Complex operator-(Complex a, Complex b) { return {a.re - b.re, a.im - b.im}; }
inline Complex operator*(Complex a, Complex b) { return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re}; }
inline Complex timesI(Complex a) { return {-a.im, a.re}; }
inline Complex conjugate(Complex a) { return {a.re, -a.im}; }

inline Complex get(const float* a, int k) { return {a[2 * k], a[2 * k + 1]}; }
inline void set(float* a, int k, Complex value) {
    a[2 * k] = value.re;
    a[2 * k + 1] = value.im;
}

}  // namespace KaTessel
