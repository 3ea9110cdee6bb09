// Fourier transforms in double precision and the comparison with interleaved floats.
#pragma once

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

namespace KaTessel::tests {

using Points = std::vector<std::complex<double>>;

inline std::complex<double> unitCircle(double turns) { return std::polar(1.0, 2.0 * std::numbers::pi * turns); }

// Sum over j of x[j] exp(sign i 2 pi j (k + shift) / N) for every k, N a power of two: from the transforms of the even
// and of the odd points.
inline Points definedTransform(Points x, int sign, double shift = 0.0) {
    const std::size_t n = x.size();
    if (shift != 0.0)
        for (std::size_t j = 0; j < n; ++j)
            x[j] *= unitCircle(sign * shift * static_cast<double>(j) / static_cast<double>(n));
    if (n < 2) return x;
    if (n == 2) return {x[0] + x[1], x[0] - x[1]};
    Points even(n / 2), odd(n / 2);
    for (std::size_t j = 0; j < n / 2; ++j) {
        even[j] = x[2 * j];
        odd[j] = x[2 * j + 1];
    }
    even = definedTransform(std::move(even), sign);
    odd = definedTransform(std::move(odd), sign);
    for (std::size_t k = 0; k < n / 2; ++k) {
        const auto turned = odd[k] * unitCircle(sign * static_cast<double>(k) / static_cast<double>(n));
        x[k] = even[k] + turned;
        x[k + n / 2] = even[k] - turned;
    }
    return x;
}

inline Points realPoints(const std::vector<float>& x) { return Points(x.begin(), x.end()); }

// n floats as n / 2 complex points.
inline Points interleavedPoints(const float* a, int n) {
    Points points;
    for (int k = 0; k + 1 < n; k += 2) points.emplace_back(a[k], a[k + 1]);
    return points;
}

// Bins 0 .. n / 2 of a spectrum in the analyser's layout.
inline Points unpackedSpectrum(const float* a, int n) {
    Points bins = interleavedPoints(a, n);
    bins.emplace_back(a[1]);
    bins[0] = a[0];
    return bins;
}

// Largest distance from `expected`, in units of its root mean square.
inline double relativeError(const Points& actual, const Points& expected) {
    double largest = actual.size() == expected.size() ? 0.0 : 1e9, energy = 0.0;
    for (std::size_t k = 0; k < std::min(actual.size(), expected.size()); ++k) {
        const double distance = std::abs(actual[k] - expected[k]);
        if (!(distance <= largest)) largest = distance;  // keeps a NaN
        energy += std::norm(expected[k]);
    }
    return largest / std::sqrt(energy / static_cast<double>(expected.size()));
}

}  // namespace KaTessel::tests
