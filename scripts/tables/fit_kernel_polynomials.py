#!/usr/bin/python3
"""Fits the polynomials of the vector exponential, tanh and logarithm in src/kernels/VectorKernels.h.

Least squares on Chebyshev nodes, weighted for relative error; prints coefficients (lowest power first) and the
largest relative error in double precision. Needs python3-numpy.
"""
import numpy as np


def nodes(lo, hi, count=4000):
    k = np.arange(count)
    return (lo + hi) / 2 + (hi - lo) / 2 * np.cos(np.pi * (k + 0.5) / count)


def fit(name, x, basis, degree, target, offset, value):
    """Coefficients c of target ~ offset + basis(x) * poly(x_poly), smallest error relative to value."""
    poly_x, factor = basis
    design = np.vander(poly_x, degree + 1, increasing=True) * (factor / value)[:, None]
    coefficients = np.linalg.lstsq(design, (target - offset) / value, rcond=None)[0].astype(np.float32)
    error = np.max(np.abs(design @ coefficients.astype(float) - (target - offset) / value))
    print(f"{name}: relative error {error:.1e}")
    for c in coefficients:
        print(f"    {np.format_float_scientific(c, unique=True)}f")


# exp(r) = 1 + r + r^2 p(r), |r| <= ln(2) / 2
r = nodes(-np.log(2) / 2 * 1.001, np.log(2) / 2 * 1.001)
fit("exp", r, (r, r * r), 4, np.exp(r), 1 + r, np.exp(r))

# tanh(x) = x + x^3 p(x^2), |x| <= 0.625
x = nodes(1e-4, 0.626)
fit("tanh", x, (x * x, x**3), 4, np.tanh(x), x, np.tanh(x))

# ln(m) = 2 s + s^3 p(s^2), s = (m - 1) / (m + 1), m in sqrt(1/2) .. sqrt(2)
s = nodes(1e-4, (np.sqrt(2) - 1) / (np.sqrt(2) + 1) * 1.001)
fit("ln", s, (s * s, s**3), 3, 2 * np.arctanh(s), 2 * s, 2 * np.arctanh(s))
