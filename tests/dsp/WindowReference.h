// The analysis windows by their formulas, in double precision.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace KaTessel::tests {

constexpr double kFloatTwoPi = 6.2831854820251465;  // 2 pi as the windows know it

// Modified Bessel function I0: the first 50 terms of its power series, each from the one before.
inline double besselSeries(double x) {
    double term = 1.0, sum = 1.0;
    for (int k = 1; k < 50; ++k) {
        term *= (x / 2.0 / k) * (x / 2.0 / k);
        sum += term;
    }
    return sum;
}

// a0 - a1 cos(theta) + a2 cos(2 theta) - a3 cos(3 theta)
inline double cosineSum(const double (&a)[4], double theta) {
    return a[0] - a[1] * std::cos(theta) + a[2] * std::cos(2.0 * theta) - a[3] * std::cos(3.0 * theta);
}

// Sample i of n of the family `code`, its peak near 1.
inline double windowSample(int code, int i, int n) {
    static constexpr double kHamming[4] = {0.54, 0.46, 0.0, 0.0};
    static constexpr double kHarris62[4] = {0.44959, 0.49364, 0.05677, 0.0};
    static constexpr double kHarris70[4] = {0.42323, 0.49755, 0.07922, 0.0};
    static constexpr double kHarris74[4] = {0.40217, 0.49703, 0.09892, 0.00188};
    static constexpr double kHarris92[4] = {0.35875, 0.48829, 0.14128, 0.01168};
    static constexpr double kLike[4] = {0.47, 0.45, -0.01, 0.01};  // the second harmonic with the other sign
    static constexpr double kAlphas[8] = {0.0, 1.7, 1.8, 1.9, 2.0, 2.5, 3.0, 3.5};

    const double theta = i * kFloatTwoPi / (n - 1);
    switch (code) {
        case 0: return cosineSum(kHamming, theta);
        case 1:
        case 2:
        case 3:
        case 4:
        case 5:
        case 6:
        case 7: {
            const double beta = kAlphas[code] * 3.1415927410125732;
            const double place = 2.0 * std::abs(i - n / 2) / n;
            return besselSeries(beta * std::sqrt(1.0 - place * place)) / besselSeries(beta);
        }
        case 9: return cosineSum(kHarris70, theta);
        case 10: return cosineSum(kLike, theta);
        case 11: return cosineSum(kHarris74, theta);
        case 12: return cosineSum(kHarris92, theta);
        case 13: return std::min(i, n - 1 - i) * (n % 2 != 0 ? 2.0 / (n - 1) : 2.0 / n);
        case 14: return 1.0;
        case 15:
            if (i == 0 || i == n - 1) return 0.0;
            return cosineSum(kLike, kFloatTwoPi * std::pow(static_cast<double>(i) / (n - 1), 1.946402604329978));
        default: return cosineSum(kHarris62, theta);
    }
}

// The whole window, scaled to the sum 2.
inline std::vector<double> referenceWindow(int code, int n) {
    std::vector<double> w;
    double sum = 0.0;
    for (int i = 0; i < n; ++i) {
        w.push_back(windowSample(code, i, n));
        sum += w.back();
    }
    for (double& sample : w) sample *= 2.0 / sum;
    return w;
}

}  // namespace KaTessel::tests
