// The pieces of the transform, put together to transforms whose results are known.
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "dsp/ReferenceTransform.h"
#include "katessel/CFFTOoura.h"
#include "support/GuardedBuffer.h"
#include "support/Random.h"

namespace KaTessel::tests {
namespace {

// Rounding grows with the number of stages like a random walk: over ten seeds the worst of 65536 points was off by
// 1.1e-6 of the root mean square. A wrong factor at a single point shows at about 1.
constexpr double kFftTolerance = 2.5e-6;

constexpr double kFirstKind = 0.0, kSecondKind = 0.5;  // shift of the frequencies [bins]

TEST(PlainFft, PiecesMakeUpTransforms) {
    CFFTOoura fft;
    const auto blocks = [&fft](int n, float* a) {
        if (n > 512) return fft.cftrec4(n, a);
        return n > 128 ? fft.cftleaf(n, 1, a) : fft.cftfx41(n, a);
    };
    struct Row {
        const char* name;
        int smallest, largest;
        int sign;
        double shift;
        std::function<void(int n, float* a)> transform;
    };
    const std::vector<Row> table = {
        {"forward", 2, 131072, 1, kFirstKind, [&](int n, float* a) { fft.forward(n, a); }},
        {"backward", 2, 131072, -1, kFirstKind, [&](int n, float* a) { fft.backward(n, a); }},
        {"cftf161", 32, 32, 1, kFirstKind, [&](int n, float* a) { fft.cftf161(a), fft.bitrv2(n, a); }},
        {"cftf162", 32, 32, 1, kSecondKind, [&](int n, float* a) { fft.cftf162(a), fft.bitrv2(n, a); }},
        {"cftf081", 16, 16, 1, kFirstKind, [&](int n, float* a) { fft.cftf081(a), fft.bitrv2(n, a); }},
        {"cftf082", 16, 16, 1, kSecondKind, [&](int n, float* a) { fft.cftf082(a), fft.bitrv2(n, a); }},
        {"cftf040", 8, 8, 1, kFirstKind, [&](int, float* a) { fft.cftf040(a); }},
        {"cftmdl1", 64, 2048, 1, kFirstKind,
         [&](int n, float* a) { fft.cftmdl1(n, a), blocks(n, a), fft.bitrv2(n, a); }},
        {"cftmdl2", 256, 512, 1, kSecondKind,
         [&](int n, float* a) { fft.cftmdl2(n, a), fft.cftleaf(n, 0, a), fft.bitrv2(n, a); }},
        {"cftb1st", 64, 2048, -1, kFirstKind,
         [&](int n, float* a) { fft.cftb1st(n, a), blocks(n, a), fft.bitrv2conj(n, a); }},
        {"realPost undone by realPre", 8, 131072, 1, kFirstKind,
         [&](int n, float* a) { fft.forward(n, a), fft.realPost(n, a), fft.realPre(n, a); }},
    };
    for (const Row& row : table) {
        for (int n = row.smallest; n <= row.largest; n *= 2) {
            GuardedBuffer a(Random(static_cast<std::uint64_t>(n)).values(n));
            const Points expected = definedTransform(interleavedPoints(a.data(), n), row.sign, row.shift);
            row.transform(n, a.data());
            EXPECT_LT(relativeError(interleavedPoints(a.data(), n), expected), kFftTolerance)
                << row.name << ", n = " << n;
            EXPECT_TRUE(a.intact()) << row.name << ", n = " << n;
        }
    }
}

}  // namespace
}  // namespace KaTessel::tests
