// The window generators. Values are computed in double and rounded to float when stored; all sum to 2.
#include <cmath>

#include "katessel/MRSpectrum.h"

namespace KaTessel {
namespace {

constexpr double kTwoPi = 6.2831854820251465;      // the float nearest to 2 pi
constexpr double kPiAsFloat = 3.1415927410125732;  // the float nearest to pi

void scaleToSumTwo(float* w, long n, double sum) {
    if (sum == 0.0) return;  // two samples of an even triangle
    const float factor = static_cast<float>(2.0 / sum);
    for (long i = 0; i < n; ++i) w[i] *= factor;
}

// a0 - a1 cos + a2 cos 2 - a3 cos 3, with the coefficients as floats. The first sample is the difference that remains
// at phase 0, as a constant; the phase step is a float quotient.
struct CosineSum {
    float a0, a1, a2, a3;
    float firstSample;
};

void blackmanHarris(long n, float* w, const CosineSum& c) {
    if (n < 1) return;
    const double step = static_cast<float>(kTwoPi) / static_cast<float>(n - 1);
    w[0] = c.firstSample;
    double sum = c.firstSample;
    for (long i = 1; i < n; ++i) {
        const double phase = static_cast<double>(i) * step;
        const double value = static_cast<double>(c.a0) - static_cast<double>(c.a1) * std::cos(phase) +
                             static_cast<double>(c.a2) * std::cos(2.0 * phase) -
                             static_cast<double>(c.a3) * std::cos(3.0 * phase);
        w[i] = static_cast<float>(value);
        sum += value;
    }
    scaleToSumTwo(w, n, sum);
}

// Second and third harmonic are both subtracted, unlike in a Blackman-Harris sum; the model was trained on this.
//   c  cosine of the phase, of which those of its multiples are polynomials
double likeFormula(double c) {
    const double second = 2.0 * c * c - 1.0, third = (4.0 * c * c - 3.0) * c;
    return (0.47 - 0.01 * third) - (0.45 * c + 0.01 * second);
}

// cos(i * step) for i = 0, 1, .. in this order: of the sum of two angles, so that only every kFine-th needs the functions
// themselves.
class CosineWalk {
public:
    explicit CosineWalk(double step) : m_step(step) {
        for (int i = 0; i < kFine; ++i) {
            m_cosine[i] = std::cos(i * step);
            m_sine[i] = std::sin(i * step);
        }
    }
    double next() {
        if (m_fine == kFine) {
            m_fine = 0;
            m_coarse += kFine;
            m_coarseCosine = std::cos(static_cast<double>(m_coarse) * m_step);
            m_coarseSine = std::sin(static_cast<double>(m_coarse) * m_step);
        }
        const double cosine = m_coarseCosine * m_cosine[m_fine] - m_coarseSine * m_sine[m_fine];
        ++m_fine;
        return cosine;
    }

private:
    static constexpr int kFine = 16;
    double m_step, m_cosine[kFine], m_sine[kFine];
    double m_coarseCosine = 1.0, m_coarseSine = 0.0;
    long m_coarse = 0;
    int m_fine = 0;
};

}  // namespace

void MRSpectrum::Hamming(long n, float* w) {
    if (n < 1) return;
    const double step = 1.0 / static_cast<double>(n - 1) * kTwoPi;
    const double a0 = 0.54f, a1 = 0.46f;
    w[0] = 0.079999998f;
    float sum = w[0];
    for (long i = 1; i < n; ++i) {
        w[i] = static_cast<float>(a0 - a1 * std::cos(static_cast<double>(i) * step));
        sum += w[i];
    }
    scaleToSumTwo(w, n, sum);
}

void MRSpectrum::BlackmanHarris62(long n, float* w) {
    blackmanHarris(n, w, {0.44959f, 0.49364f, 0.05677f, 0.0f, 0.012719993f});
}

void MRSpectrum::BlackmanHarris70(long n, float* w) {
    blackmanHarris(n, w, {0.42323f, 0.49755f, 0.07922f, 0.0f, 0.0048999786f});
}

void MRSpectrum::BlackmanHarris74(long n, float* w, bool /*derivative*/) {
    blackmanHarris(n, w, {0.40217f, 0.49703f, 0.09892f, 0.00188f, 0.0021800152f});
}

void MRSpectrum::BlackmanHarris92(long n, float* w) {
    blackmanHarris(n, w, {0.35875f, 0.48829f, 0.14128f, 0.01168f, 5.9968792e-05f});
}

void MRSpectrum::BlackmanHarrisLike(long n, float* w, bool derivative) {
    if (n < 1) return;
    const double step = kTwoPi / static_cast<double>(n - 1);
    w[0] = -4.6837534e-17f;
    float sum = w[0];
    CosineWalk cosine(step);
    cosine.next();
    for (long i = 1; i < n; ++i) {
        w[i] = static_cast<float>(likeFormula(cosine.next()));
        sum += w[i];
    }
    if (derivative) {
        w[0] = -0.0f;
        for (long i = 1; i < n; ++i) {
            const double phase = static_cast<double>(i) * step;
            w[i] = static_cast<float>(
                -((0.1884955644607544 * std::sin(3.0 * phase) + 0.12566370964050294 * std::sin(2.0 * phase) +
                   2.827433466911316 * std::sin(phase)) *
                  1.0 / static_cast<double>(n - 1)));
        }
    }
    scaleToSumTwo(w, n, sum);
}

// The same sum over a warped phase: the peak moves to about 0.7 of the length.
void MRSpectrum::AsymmetricBlackmanHarrisLike(long n, float* w) {
    if (n < 1) return;
    float sum = 0.0f;
    for (long i = 0; i < n; ++i) {
        const double place = n == 1 ? 0.0 : static_cast<double>(i) / static_cast<double>(n - 1);
        const double u = std::pow(place, 1.946402604329978);
        const double value = (0.47 - 0.01 * std::cos(18.84955644607544 * u)) -
                             (0.45 * std::cos(6.2831854820251465 * u) + 0.01 * std::cos(12.566370964050293 * u));
        w[i] = static_cast<float>(value);
        sum += w[i];
    }
    w[0] = 0.0f;
    w[n - 1] = 0.0f;
    scaleToSumTwo(w, n, sum);
}

void MRSpectrum::KaiserBessel(long n, float* w, double alpha) {
    if (n < 1) return;
    const double beta = alpha * kPiAsFloat;
    const double atCentre = BesselFunction(beta);
    const long centre = n / 2;
    double sum = 0.0;
    for (long j = 0; j <= centre; ++j) {
        const double place = 2.0 * static_cast<double>(j) / static_cast<double>(n);
        const double value = BesselFunction(beta * std::sqrt(1.0 - place * place)) / atCentre;
        w[centre - j] = static_cast<float>(value);
        sum += value;
        if (j == 0 || centre + j >= n) continue;
        w[centre + j] = static_cast<float>(value);
        sum += value;
    }
    scaleToSumTwo(w, n, sum);
}

void MRSpectrum::Triangular(long n, float* w) {
    if (n < 1) return;
    const double step = n == 1 ? 0.0 : 2.0 / static_cast<double>(n % 2 != 0 ? n - 1 : n);
    float sum = 0.0f;
    for (long i = 0; i < (n + 1) / 2; ++i) {
        w[i] = n == 1 ? 1.0f : static_cast<float>(static_cast<double>(i) * step);
        sum += w[i];
        if (n - 1 - i == i) continue;
        w[n - 1 - i] = w[i];
        sum += w[i];
    }
    scaleToSumTwo(w, n, sum);
}

void MRSpectrum::Rectangular(long n, float* w) {
    for (long i = 0; i < n; ++i) w[i] = static_cast<float>(2.0 / static_cast<double>(n));
}

double MRSpectrum::BesselFunction(double x) {
    const double h = x / 2.0;
    double sum = 1.0 + h * h;  // terms 0 and 1
    double factorial = 1.0;
    for (int k = 2; k < 50; ++k) {
        factorial *= k;
        const double term = std::pow(h, k) / factorial;
        sum += term * term;
    }
    return sum;
}

long MRSpectrum::GetWindow(long n, char type, float** out, bool /*ignoredFlag*/, bool derivative) {
    constexpr double kKaiserAlphas[] = {1.7, 1.8, 1.9, 2.0, 2.5, 3.0, 3.5};
    float* w = *out;
    const unsigned char code = static_cast<unsigned char>(type);
    switch (code) {
        case 0: Hamming(n, w); break;
        case 1:
        case 2:
        case 3:
        case 4:
        case 5:
        case 6:
        case 7: KaiserBessel(n, w, kKaiserAlphas[code - 1]); break;
        case 9: BlackmanHarris70(n, w); break;
        case 10: BlackmanHarrisLike(n, w, derivative); break;
        case 11: BlackmanHarris74(n, w, derivative); break;
        case 12: BlackmanHarris92(n, w); break;
        case 13: Triangular(n, w); break;
        case 14: Rectangular(n, w); break;
        case 15: AsymmetricBlackmanHarrisLike(n, w); break;
        default: BlackmanHarris62(n, w); break;
    }
    return 0;
}

// Window spectra in closed form, 512 samples: the Dirichlet kernel at the harmonics of the cosine sum.

double MRSpectrum::D(float omega, float N) {
    const double half = static_cast<double>(omega) / 2.0;
    const double divisor = std::sin(half);
    if (divisor == 0.0) return static_cast<double>(N);
    return std::sin(static_cast<double>(N) * half) / divisor;
}

namespace {
constexpr float kBin = 0.012271847f;  // 2 pi / 512
constexpr float kTwoBins = 0.024543693f;
constexpr float kThreeBins = 0.03681554f;
}  // namespace

float MRSpectrum::BlackmanHarrisLikeFFT(float f, float scale) {
    const float omega = (scale > 1.0f ? f / scale : f) * kBin;
    const auto sides = [&](float shift) { return D(omega - shift, 512.0f) + D(omega + shift, 512.0f); };
    return static_cast<float>(
        (0.47 * D(omega, 512.0f) + 0.225 * sides(kBin) - 0.005 * sides(kTwoBins) + 0.005 * sides(kThreeBins)) *
        0.004155585106382979);
}

float MRSpectrum::BlackmanHarris92FFT(float f) {
    const float omega = f * kBin;
    const auto sides = [&](float shift) { return D(omega - shift, 512.0f) + D(omega + shift, 512.0f); };
    return static_cast<float>((0.35875 * D(omega, 512.0f) + 0.244145 * sides(kBin) + 0.07064 * sides(kTwoBins) +
                               0.00584 * sides(kThreeBins)) *
                              0.005444250944665711);
}

}  // namespace KaTessel
