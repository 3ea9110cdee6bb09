#include "Filters.h"

#include <cmath>

namespace katessel::training {

namespace {

Biquad pass(double hz, bool high) {
    const double w = 2.0 * M_PI * hz / kRate, c = std::cos(w), alpha = std::sin(w) / std::sqrt(2.0), norm = 1.0 + alpha;
    const double edge = (high ? 1.0 + c : 1.0 - c) / 2.0 / norm;
    return {edge, (high ? -2.0 : 2.0) * edge, edge, -2.0 * c / norm, (1.0 - alpha) / norm};
}

}  // namespace

void Biquad::apply(Samples& samples) const {
    double z1 = 0.0, z2 = 0.0;
    for (float& sample : samples) {
        const double x = sample, y = b0 * x + z1;
        z1 = b1 * x - a1 * y + z2;
        z2 = b2 * x - a2 * y;
        sample = static_cast<float>(y);
    }
}

Biquad peak(double hz, double quality, double decibels) {
    const double w = 2.0 * M_PI * hz / kRate, alpha = std::sin(w) / (2.0 * quality),
                 a = std::pow(10.0, decibels / 40.0);
    const double norm = 1.0 + alpha / a;
    return {(1.0 + alpha * a) / norm, -2.0 * std::cos(w) / norm, (1.0 - alpha * a) / norm, -2.0 * std::cos(w) / norm,
            (1.0 - alpha / a) / norm};
}

Biquad highPass(double hz) { return pass(hz, true); }
Biquad lowPass(double hz) { return pass(hz, false); }

}  // namespace katessel::training
