// Real transforms, their inverse, the half-complex format and the closed forms of two window spectra.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

#include "dsp/ReferenceTransform.h"
#include "katessel/MRSpectrum.h"
#include "support/GuardedBuffer.h"
#include "support/Random.h"

namespace KaTessel::tests {
namespace {

constexpr int kLongest = 131072;

// Rounding grows with the number of stages like a random walk; the factors restart often enough not to add to that.
// Over ten seeds the worst point of a transform was off by 1.2e-6 of the root mean square, of the way there and back
// by 1.9e-6.
constexpr double kTolerance = 4e-6;

// Bins 0 .. n / 2 of a spectrum in the library's layout.
Points unpacked(const float* a, int n) {
    Points bins = interleavedPoints(a, n);
    bins.emplace_back(a[1]);
    bins[0] = a[0];
    return bins;
}

Points referenceSpectrum(const std::vector<float>& x) {
    Points bins = halvedTransform(realPoints(x.data(), static_cast<int>(x.size())), -1);
    bins.resize(x.size() / 2 + 1);
    return bins;
}

TEST(PlainRealTransform, MatchesTheDefinition) {
    MRSpectrum spectrum;
    for (int n = 2; n <= kLongest; n *= 2) {
        const std::vector<float> x = Random(static_cast<std::uint64_t>(n)).values(n);
        GuardedBuffer a(x);
        EXPECT_EQ(spectrum.rFFT(a.data(), n), 0);
        EXPECT_TRUE(a.intact()) << n;
        EXPECT_LT(relativeError(unpacked(a.data(), n), referenceSpectrum(x)), kTolerance) << n;
    }
}

// Tells a wrong factor from rounding: every value of the spectrum is known and has the magnitude 1.
TEST(PlainRealTransform, Impulses) {
    MRSpectrum spectrum;
    for (int n : {2, 4, 8, 16, 32, 64, 128, 256, 512, 1024, 4096, kLongest}) {
        for (int position : {0, 1, n / 2 - 1, n / 2, n - 1}) {
            GuardedBuffer a(n);
            a.data()[position] = 1.0f;
            spectrum.rFFT(a.data(), n);
            Points expected;
            for (int k = 0; k <= n / 2; ++k)
                expected.push_back(unitCircle(-static_cast<double>(static_cast<long>(k) * position % n) / n));
            EXPECT_LT(relativeError(unpacked(a.data(), n), expected), kTolerance) << n << ", sample " << position;
            if (position == 0)
                for (int k = 2; k < n; k += 2) {
                    ASSERT_EQ(a[k], 1.0f) << n;
                    ASSERT_EQ(a[k + 1], 0.0f) << n;
                }
        }
    }
}

TEST(PlainRealTransform, OneCycle) {
    MRSpectrum spectrum;
    for (int n = 4; n <= kLongest; n *= 2) {
        GuardedBuffer cosine(n), sine(n);
        for (int j = 0; j < n; ++j) {
            const auto phase = unitCircle(static_cast<double>(j) / n);
            cosine.data()[j] = static_cast<float>(phase.real());
            sine.data()[j] = static_cast<float>(phase.imag());
        }
        spectrum.rFFT(cosine.data(), n);
        spectrum.rFFT(sine.data(), n);
        const float unit = static_cast<float>(n) / 2.0f, tolerance = unit * 1e-6f;
        for (int k = 0; k < n; ++k) {
            ASSERT_NEAR(cosine[k], k == 2 ? unit : 0.0f, tolerance) << n << ", value " << k;
            ASSERT_NEAR(sine[k], k == 3 ? -unit : 0.0f, tolerance) << n << ", value " << k;
        }
    }
}

TEST(PlainRealTransform, TwoAndFourSamplesAreExact) {
    MRSpectrum spectrum;
    GuardedBuffer two(std::vector<float>{3, 5});
    spectrum.rFFT(two.data(), 2);
    EXPECT_EQ(two[0], 8);
    EXPECT_EQ(two[1], -2);
    spectrum.irFFT(two.data(), 2, false);
    EXPECT_EQ(two[0], 3);
    EXPECT_EQ(two[1], 5);

    GuardedBuffer four(std::vector<float>{1, 2, 4, 16});
    spectrum.rFFT(four.data(), 4);
    const float expected[4] = {23, -13, -3, 14};
    for (int k = 0; k < 4; ++k) EXPECT_EQ(four[k], expected[k]) << k;
    EXPECT_TRUE(two.intact() && four.intact());
}

TEST(PlainRealTransform, InverseRestoresTheSignalAndKeepsTheSpectrum) {
    MRSpectrum spectrum;
    for (int n = 2; n <= kLongest; n *= 2) {
        for (bool halfComplex : {false, true}) {
            const std::vector<float> x = Random(static_cast<std::uint64_t>(n)).values(n);
            GuardedBuffer a(x);
            spectrum.rFFT(a.data(), n);
            const std::vector<float> packed(a.data(), a.data() + n);
            std::vector<float> expectedCopy = packed;
            if (halfComplex) {
                const float* converted = spectrum.SpecFormatConversion(a.data(), n);
                expectedCopy.assign(converted, converted + n);
                std::fill_n(spectrum.spareSpectrum(), n, -1.0f);
            }
            EXPECT_EQ(spectrum.irFFT(a.data(), n, halfComplex), 0);
            EXPECT_LT(relativeError(realPoints(a.data(), n), realPoints(x.data(), n)), kTolerance) << n;
            EXPECT_TRUE(a.intact()) << n;
            const float* copy = spectrum.spareSpectrum();
            EXPECT_EQ(std::vector<float>(copy, copy + n), expectedCopy) << n << ", half-complex " << halfComplex;
        }
    }
}

TEST(PlainRealTransform, HalfComplexFormat) {
    MRSpectrum spectrum;
    for (int n : {2, 4, 8, 1024, kLongest}) {
        // Value k is k, so that every place tells where it came from.
        std::vector<float> a(static_cast<std::size_t>(n));
        for (int k = 0; k < n; ++k) a[static_cast<std::size_t>(k)] = static_cast<float>(k);
        spectrum.spareSpectrum()[n] = -5.0f;
        const float* h = spectrum.SpecFormatConversion(a.data(), n);
        EXPECT_EQ(h, spectrum.spareSpectrum());
        EXPECT_EQ(h[0], 0.0f);
        EXPECT_EQ(h[n / 2], 1.0f);
        for (int k = 1; k < n / 2; ++k) {
            ASSERT_EQ(h[k], static_cast<float>(2 * k)) << n;
            ASSERT_EQ(h[n - k], static_cast<float>(2 * k + 1)) << n;
        }
        EXPECT_EQ(h[n], -5.0f);
    }
}

TEST(PlainRealTransform, DirichletKernel) {
    MRSpectrum spectrum;
    EXPECT_EQ(spectrum.D(0.0f, 512.0f), 512.0);
    EXPECT_EQ(spectrum.D(0.0f, 3.0f), 3.0);
    for (float omega : {0.3f, -0.3f, 2.5f, -6.0f}) {
        // The sum of N unit vectors, symmetric about angle 0.
        for (int points : {1, 2, 7, 512}) {
            double sum = 0.0;
            for (int j = 0; j < points; ++j) sum += std::cos(static_cast<double>(omega) * (j - (points - 1) / 2.0));
            EXPECT_NEAR(spectrum.D(omega, static_cast<float>(points)), sum, 1e-9) << omega << ", " << points;
        }
    }
}

// Against the transform of the window itself, 512 samples of a cosine sum with a period of 512.
TEST(PlainRealTransform, WindowSpectraInClosedForm) {
    MRSpectrum spectrum;
    const double like[4] = {0.47, 0.45, -0.01, 0.01};
    const double harris92[4] = {0.35875, 0.48829, 0.14128, 0.01168};
    const auto transformed = [](const double (&a)[4], double bins) {
        double sum = 0.0;
        for (int j = 0; j < 512; ++j) {
            const double angle = 2.0 * std::numbers::pi * (j - 255.5) / 512.0;
            double sample = a[0];
            for (int harmonic = 1; harmonic < 4; ++harmonic) sample += a[harmonic] * std::cos(harmonic * angle);
            sum += sample * std::cos(bins * angle);
        }
        return sum / (512.0 * a[0]);
    };
    // The shift between the kernels is a rounded float and they are steep between their zeros: 1e-6 of the peak.
    for (float bins : {0.0f, 0.25f, -0.25f, 1.0f, -1.5f, 2.0f, 2.75f, 3.0f, 4.5f, 17.3f, 200.0f}) {
        EXPECT_NEAR(spectrum.BlackmanHarris92FFT(bins), transformed(harris92, bins), 1e-6) << bins;
        for (float scale : {0.5f, 1.0f, 2.0f, 3.5f})
            EXPECT_NEAR(spectrum.BlackmanHarrisLikeFFT(bins, scale),
                        transformed(like, scale > 1.0f ? bins / scale : bins), 1e-6)
                << bins << ", scale " << scale;
    }
}

TEST(PlainRealTransform, TablesOnRequest) {
    MRSpectrum spectrum;
    spectrum.InitTables();
    for (int s = 0; s < 18; ++s) {
        const int size = 1 << s;
        EXPECT_EQ(spectrum.powerOfTwo(s), size);
        EXPECT_EQ(spectrum.sineTable(s)[0], 0.0);
        for (int k = 0; k <= size; k += size < 64 ? 1 : size / 64) {  // a float's angle of up to pi: 2e-7
            EXPECT_NEAR(spectrum.sineTable(s)[k], std::sin(std::numbers::pi * k / size), 2e-7) << s << ", " << k;
            EXPECT_NEAR(spectrum.cosineTable(s)[k], std::cos(std::numbers::pi * k / size), 2e-7) << s << ", " << k;
        }
    }
}

}  // namespace
}  // namespace KaTessel::tests
