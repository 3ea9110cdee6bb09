// Fourier transforms in double precision, by definition, and the comparison with interleaved floats.
#pragma once

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

namespace KaTessel::tests {

using Points = std::vector<std::complex<double>>;

inline std::complex<double> unitCircle(double turns) {
    return std::polar(1.0, 2.0 * std::numbers::pi * turns);
}

// Sum over j of x[j] exp(sign i 2 pi j (k + shift) / N) for k = 0 .. bins - 1; shift 0 or 0.5.
inline Points definedTransform(const Points& x, int sign, double shift = 0.0, int bins = -1) {
    const long n = static_cast<long>(x.size());
    Points circle(static_cast<std::size_t>(2 * n));
    for (long k = 0; k < 2 * n; ++k) circle[static_cast<std::size_t>(k)] = unitCircle(sign * k / (2.0 * n));
    Points sums(static_cast<std::size_t>(bins < 0 ? n : bins));
    for (std::size_t k = 0; k < sums.size(); ++k) {
        const long halfSteps = std::lround(2.0 * (static_cast<double>(k) + shift));
        for (long j = 0; j < n; ++j)
            sums[k] += x[static_cast<std::size_t>(j)] * circle[static_cast<std::size_t>(j * halfSteps % (2 * n))];
    }
    return sums;
}

// The same for long blocks of a power of two, from the transforms of the even and of the odd points.
inline Points halvedTransform(Points x, int sign, double shift = 0.0) {
    const std::size_t n = x.size();
    if (shift != 0.0)
        for (std::size_t j = 0; j < n; ++j)
            x[j] *= unitCircle(sign * shift * static_cast<double>(j) / static_cast<double>(n));
    if (n < 2) return x;
    Points even, odd;
    for (std::size_t j = 0; j < n; j += 2) {
        even.push_back(x[j]);
        odd.push_back(x[j + 1]);
    }
    even = halvedTransform(std::move(even), sign);
    odd = halvedTransform(std::move(odd), sign);
    for (std::size_t k = 0; k < n / 2; ++k) {
        const auto turned = odd[k] * unitCircle(sign * static_cast<double>(k) / static_cast<double>(n));
        x[k] = even[k] + turned;
        x[k + n / 2] = even[k] - turned;
    }
    return x;
}

inline Points realPoints(const float* a, int n) { return Points(a, a + n); }

// n floats as n / 2 complex points.
inline Points interleavedPoints(const float* a, int n) {
    Points points;
    for (int k = 0; k + 1 < n; k += 2) points.emplace_back(a[k], a[k + 1]);
    return points;
}

// `index` with its bits in reverse, of an array of `size` elements.
inline int reversedBits(int index, int size) {
    int reversed = 0;
    for (int bit = 1; bit < size; bit *= 2) {
        reversed = 2 * reversed + (index & 1);
        index /= 2;
    }
    return reversed;
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
