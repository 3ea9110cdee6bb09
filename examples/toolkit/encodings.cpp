// Scalars as vectors of levels, by themselves and inside a dense layer.
#include <katessel/KaTessel.h>

#include <cmath>
#include <cstdio>

#include "WriteWeights.h"

int main() {
    const std::vector<float> linear = KaTessel::linear_encoding(2.5f, 5, 0.0f, 4.0f);  // 0 0 0.5 0.5 0
    const std::vector<float> coarse = KaTessel::coarse_encoding(2.0f, 5, 0.0f, 4.0f);  // 0 0.5 1 0.5 0
    const std::vector<float> angle = KaTessel::circular_encoding(0.1f, 8, 0.0f, 1.0f, 1.0f);
    std::printf("%.1f %.1f %.2f\n", static_cast<double>(linear[2]), static_cast<double>(coarse[2]),
                static_cast<double>(angle[0]));
    expect(linear[2] == 0.5f && coarse[2] == 1.0f && angle[1] > angle[4], "the encodings");

    // The same inside conv1x1: an input of -1 .. 1 on five levels, two of them at a time.
    float weights[5] = {1.0f, 2.0f, 3.0f, 4.0f, 5.0f}, x = 0.25f, out = 0.0f;
    KaTessel::conv1x1(&x, &out, weights, nullptr, 1, 1, -1, -1, false, nullptr, 5, 0, 0, -1);
    std::printf("%.2f\n", static_cast<double>(out));
    expect(std::fabs(out - 3.5f) < 1e-6f, "half way between the third and the fourth level");
    return 0;
}
