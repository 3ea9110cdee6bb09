// Multi-resolution spectrum: one transform of a frame, seen through a window whose length falls with frequency.
//
// Low bins use the whole frame, high bins a short window, the bins between lengths that shrink linearly. The
// frame is transformed once; the window is applied in the frequency domain, as a convolution of the spectrum
// with the first taps of the window's spectrum.
#ifndef KATESSEL_MRSPECTRUM_H
#define KATESSEL_MRSPECTRUM_H

#include <memory>
#include <vector>

#include "katessel/CFFTOoura.h"
#include "katessel/Export.h"

namespace KaTessel {

class CTessel;

// Spectrum layout, for a transform of n samples: a[0] DC, a[1] Nyquist (both real), a[2k] and a[2k + 1] real and
// imaginary part of bin k = 1 .. n/2 - 1; sign exp(-i 2 pi jk / n), no scale.
//
// Buffers are as long as the frames need that it was last prepared for. One thread at a time.
class KATESSEL_API MRSpectrum {
public:
    MRSpectrum();
    ~MRSpectrum();
    MRSpectrum(const MRSpectrum&) = delete;
    MRSpectrum& operator=(const MRSpectrum&) = delete;

    // Forward transform of n real samples in place into the layout above; n a power of two, 2 .. 131072. An odd n
    // counts as n - 1. Returns 0.
    long rFFT(float* a, int n);

    // Exact inverse of rFFT, in place. Leaves the spectrum as it was in spareSpectrum(), half-complex when
    // halfComplexCopy is set. Returns 0.
    long irFFT(float* a, int n, bool halfComplexCopy);

    // Writes spectrum a of n floats to spareSpectrum() as h[0] = bin 0, h[k] = real part of bin k, h[n/2] =
    // Nyquist, h[n - k] = imaginary part of bin k, and returns that buffer. n up to 131072.
    float* SpecFormatConversion(float* a, int n);

    // 262146 floats that the two functions above write to; null before the first of them.
    float* spareSpectrum() { return m_spareSpectrum.get(); }

    // Multi-resolution spectrum of one frame.
    //
    //   input         `length` samples, not modified; odd in normal use
    //   length        3 .. 262145
    //   windowType    family of the windows, a code of GetWindow
    //   floorDb       ignored
    //   outMagnitude, outPhase  bins 0 .. half, half = fftLen / 2, fftLen the smallest power of two above
    //                 (length - 1) * padFactor - 1 (1024 for 1025 samples); when the pointer is null an array is
    //                 allocated with new[] for the caller to own; may be null where not used
    //   outLastBin    receives half
    //   outputMode    0: magnitude [dB, 0 dB = 32768] and phase [rad]; 1: magnitude and phase;
    //                 2: power (DC and Nyquist: magnitude) in outMagnitude, and spectrum; 3: spectrum
    //   ioComplexSpectrum  fftLen floats in the layout above, for modes 2 and 3; allocated like outMagnitude
    //                 when it points to null, ignored when it is null itself
    //   padFactor     scales the transform and the number of kernel taps (40 * padFactor + 1)
    //   centred       put the frame's centre at time 0; the last sample of an odd frame is then not used
    //   sampleRate    [Hz] places the transition (200 to 1000 Hz) and the short window (0.0232 s); half the real
    //                 rate in the engine. A change of the rate or of `centred` alone keeps the windows built before.
    // Returns 0. Allocates only on a change of length, windowType or padFactor, or for null outputs.
    long DoMultiresolutionSpectrum(float* input, long length, char windowType, float floorDb, float** outMagnitude,
                                   float** outPhase, long* outLastBin, char outputMode, float** ioComplexSpectrum,
                                   float padFactor, bool centred, float sampleRate);

    // The same for 16-bit samples, taken as whole numbers.
    long DoMultiresolutionSpectrum(short* input, long length, char windowType, float floorDb, float** outMagnitude,
                                   float** outPhase, long* outLastBin, char outputMode, float** ioComplexSpectrum,
                                   float padFactor, bool centred, float sampleRate);

    // Builds, ahead of the first frame, what a call with these arguments would build.
    void PrepareMR(long length, char windowType, float padFactor, bool centred, float sampleRate);

    // Releases the windows' kernels; the next call builds them again.
    void FreeMR();

    // Fills the tables of sin(k pi / 2^s), cos(k pi / 2^s) and 2^s, s = 0 .. 17. The analysis does not read them.
    void InitTables();
    const double* sineTable(int s) const { return m_sineTables[s].data(); }      // 2^s + 1 values
    const double* cosineTable(int s) const { return m_cosineTables[s].data(); }  // 2^s + 1 values
    int powerOfTwo(int s) const { return m_powersOfTwo[s]; }

    // What the last frame was analysed with, for inspection.
    int resolutionCount() const { return static_cast<int>(m_resolutionLengths.size()); }
    int resolutionOfBin(int bin) const { return m_binResolutions[static_cast<size_t>(bin)]; }
    int windowLength(int resolution) const { return m_resolutionLengths[static_cast<size_t>(resolution)]; }
    int kernelTaps() const { return m_taps; }
    int transformLength() const { return m_fftLen; }
    const float* frameWindow() const { return m_frameWindow.get(); }  // as many values as the frame has samples
    // Real kernel taps of a resolution, kernelTaps() values with a stride of 2; the middle one belongs to the bin
    // itself.
    const float* kernel(int resolution) const { return m_kernels.data() + resolution * m_kernelStride; }

    // Writes a window of n samples to *out, scaled to the sum 2. Codes: 0 Hamming; 1 .. 7 Kaiser-Bessel, alpha
    // 1.7, 1.8, 1.9, 2.0, 2.5, 3.0, 3.5; 9, 11, 12 Blackman-Harris of 70, 74 and 92 dB; 10 BlackmanHarrisLike;
    // 13 triangular; 14 rectangular; 15 the asymmetric BlackmanHarrisLike; all others, as unsigned bytes,
    // Blackman-Harris of 62 dB. ignoredFlag has no effect; derivative applies to code 10. Returns 0.
    // Cosine sums after F. J. Harris, "On the use of windows for harmonic analysis with the DFT", 1978.
    long GetWindow(long n, char type, float** out, bool ignoredFlag, bool derivative);

    // The generators. w receives n samples; for n < 1 nothing is written.
    // Of even length, KaiserBessel has its peak at sample n/2 and nothing that mirrors sample 0; Triangular rises by
    // 2/n a sample (before the scaling) and has its peak, 1 - 2/n, at both middle samples.
    static void Hamming(long n, float* w);
    static void BlackmanHarris62(long n, float* w);
    static void BlackmanHarris70(long n, float* w);
    static void BlackmanHarris74(long n, float* w, bool derivative);  // the flag has no effect
    static void BlackmanHarris92(long n, float* w);
    static void BlackmanHarrisLike(long n, float* w, bool derivative);
    static void AsymmetricBlackmanHarrisLike(long n, float* w);
    static void KaiserBessel(long n, float* w, double alpha);
    static void Triangular(long n, float* w);
    static void Rectangular(long n, float* w);
    static double BesselFunction(double x);  // modified Bessel function I0, 50 terms of its power series

    // Dirichlet kernel sin(N omega / 2) / sin(omega / 2); N where the divisor is 0.
    double D(float omega, float N);

    // Spectra of 512-sample windows at f bins from their centre, 1 at f = 0.
    float BlackmanHarrisLikeFFT(float f, float scale);
    float BlackmanHarris92FFT(float f);

private:
    KATESSEL_LOCAL void buildKernels(long length, char windowType, float padFactor, bool centred, float sampleRate);
    KATESSEL_LOCAL void planResolutions(long length, float sampleRate);
    KATESSEL_LOCAL void buildKernel(int resolution, char windowType, float padFactor, bool centred, float* window);
    // Copies what PrepareMR built for `other`, which is faster than building it.
    KATESSEL_LOCAL void takeWindows(const MRSpectrum& other);
    friend class CTessel;
    KATESSEL_LOCAL void allocateFrameArrays(char windowType);
    KATESSEL_LOCAL void convolve(float* spectrum);
    KATESSEL_LOCAL void extendSpectrum(const float* spectrum);

    CFFTOoura m_fft;
    std::vector<double> m_sineTables[18];
    std::vector<double> m_cosineTables[18];
    int m_powersOfTwo[18] = {};

    std::unique_ptr<float[]> m_frameWindow;    // m_frameLength, rectangular
    std::unique_ptr<float[]> m_spareSpectrum;  // 262146, made by the first function that writes it
    std::unique_ptr<float[]> m_workSpectrum;   // m_fftLen + 2, used when the caller passes no spectrum
    std::unique_ptr<float[]> m_windowScratch;  // m_fftLen + 2, part of the convolution's result, for family 15
    std::unique_ptr<float[]> m_kernelWork;     // m_fftLen + 2, a window's spectrum, later the convolution's result

    long m_frameLength = 0;   // frame that the frame window was built for
    long m_kernelLength = 0;  // frame, window family and pad factor that the kernels were built for
    char m_windowType = 0;
    float m_padFactor = -1.0f;  // no kernels yet
    int m_fftLen = 0;           // transform of the current frame

    std::vector<int> m_binResolutions;     // half + 1, resolution of every bin
    std::vector<int> m_resolutionLengths;  // window length of every resolution [samples]
    std::vector<float> m_kernels;          // real taps, each twice (for real and imaginary part), one row per
                                           // resolution; the imaginary taps of family 15 follow as further rows
    int m_kernelStride = 0;                // floats of a row: 2 * taps, filled up with zeros to whole vectors
    int m_taps = 0;                        // 41 for padFactor 1
    int m_halfTaps = 0;                    // 20
    std::vector<float> m_extended;         // bins -halfTaps .. half + halfTaps as complex pairs, then zeros
    std::vector<float> m_rotated;          // the same times i, for family 15
};

}  // namespace KaTessel

#endif
