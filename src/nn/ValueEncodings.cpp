#include "katessel/ValueEncodings.h"

#include <algorithm>
#include <cmath>

namespace KaTessel {
namespace {

// Triangles of the given slope, 1: down to 0 at the neighbouring level.
std::vector<float> triangles(float x, int n, float lo, float hi, float slope) {
    if (n < 2 || hi == lo) return {};
    const float inside = std::max(std::min(x, hi), lo);
    const float spacing = (hi - lo) / static_cast<float>(n - 1);
    const float perLevel = slope * static_cast<float>(n - 1) / (hi - lo);
    std::vector<float> out(static_cast<std::size_t>(n), 0.0f);
    for (int k = 0; k < n; ++k) {
        const float distance = std::fabs(inside - lo - static_cast<float>(k) * spacing) * perLevel;
        if (distance < 1.0f) out[static_cast<std::size_t>(k)] = 1.0f - distance;
    }
    return out;
}

constexpr float kLinear = 1.0f, kCoarse = 0.5f;  // slopes

std::vector<std::vector<float>> encodeValues(const std::vector<float>& x, int n, float lo, float hi, float slope) {
    std::vector<std::vector<float>> out;
    for (float value : x) out.push_back(triangles(value, n, lo, hi, slope));
    return out;
}

std::vector<std::vector<float>> encodeFrames(const std::vector<std::vector<float>>& frames, int n, float lo, float hi,
                                             float slope) {
    std::vector<std::vector<float>> out;
    for (const std::vector<float>& frame : frames)
        out.push_back(frame.empty() ? std::vector<float>() : triangles(frame[0], n, lo, hi, slope));
    return out;
}

}  // namespace

std::vector<float> linear_encoding(float x, int n, float lo, float hi) { return triangles(x, n, lo, hi, kLinear); }

std::vector<float> coarse_encoding(float x, int n, float lo, float hi) { return triangles(x, n, lo, hi, kCoarse); }

std::vector<float> circular_encoding(float x, int n, float lo, float hi, float sharpness) {
    if (n < 1 || hi == lo) return {};
    const float turn = std::clamp((x - lo) / (hi - lo), 0.0f, 1.0f);
    const float levels = static_cast<float>(n);
    const auto bell = [&](float distance) {
        const float apart = levels * distance;
        return std::exp(-sharpness * (apart * apart));
    };
    std::vector<float> out;
    for (int k = 0; k < n; ++k) {
        const float distance = turn - static_cast<float>(k) / levels;
        out.push_back(bell(distance) + bell(distance + 1.0f) + bell(distance - 1.0f));
    }
    return out;
}

std::vector<std::vector<float>> linear_encoding(std::vector<float> x, int n, float lo, float hi) {
    return encodeValues(x, n, lo, hi, kLinear);
}

std::vector<std::vector<float>> coarse_encoding(std::vector<float> x, int n, float lo, float hi) {
    return encodeValues(x, n, lo, hi, kCoarse);
}

std::vector<std::vector<float>> linear_encoding(std::vector<std::vector<float>> frames, int n, float lo, float hi) {
    return encodeFrames(frames, n, lo, hi, kLinear);
}

std::vector<std::vector<float>> coarse_encoding(std::vector<std::vector<float>> frames, int n, float lo, float hi) {
    return encodeFrames(frames, n, lo, hi, kCoarse);
}

}  // namespace KaTessel
