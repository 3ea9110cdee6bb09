// Spectra, windows, resampling, and the engine frame by frame.
#include <katessel/KaTessel.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>

#include "WriteWeights.h"

namespace {

void transform() {
    KaTessel::MRSpectrum spectrum;
    std::vector<float> a(1024);
    for (std::size_t i = 0; i < a.size(); ++i) a[i] = std::cos(6.2831853f * 10.0f * static_cast<float>(i) / 1024.0f);
    spectrum.rFFT(a.data(), 1024);  // a[2k], a[2k + 1]: real and imaginary part of bin k
    std::printf("bin 10: %.1f\n", static_cast<double>(a[20]));
    expect(std::fabs(a[20] - 512.0f) < 0.01f, "half of 1024 in bin 10");
    spectrum.irFFT(a.data(), 1024, false);  // and back
    expect(std::fabs(a[0] - 1.0f) < 1e-5f, "the signal again");
}

void multiResolution(std::vector<float>& frame) {
    KaTessel::MRSpectrum spectrum;
    float* decibels = nullptr;  // allocated by the call, 513 values
    float* phase = nullptr;
    long lastBin = 0;
    spectrum.DoMultiresolutionSpectrum(frame.data(), 1025, 10, -200.0f, &decibels, &phase, &lastBin, 0, nullptr, 1.0f,
                                       true, 12000.0f);
    std::printf("%ld bins, %d windows\n", lastBin + 1, spectrum.resolutionCount());
    delete[] decibels;
    delete[] phase;
    expect(lastBin == 512 && spectrum.resolutionCount() == 69, "513 bins through 69 windows");
}

void resample(std::vector<float>& block) {
    KaResample::CKaResample resampler;
    resampler.configure(512);
    std::vector<float> out(256);
    resampler.doProcess(block.data(), out.data(), 2.0f, 256);  // 512 samples at 48 kHz to 256 at 24 kHz
    expect(std::fabs(out[200] - 1.0f) < 0.01f, "a constant stays one");
}

void frameByFrame(const std::string& model, const std::vector<float>& frame) {
    KaTessel::CTessel engine;
    if (engine.configure(24000, 0, 120, model.c_str()) != 0) return;
    std::vector<float> features(150);
    std::copy_n(frame.begin(), 1024, engine.frame);
    engine.spectrumStage(engine.frame);  // engine.magnitude: 513 bins
    engine.bandStage(features.data());   // dB / 70 + 1
    engine.networkStage(features.data());
    engine.headStage();  // engine.headOut: pitch and voicing
    std::printf("outputs: %.3f %.3f\n", static_cast<double>(engine.headOut[0]), static_cast<double>(engine.headOut[1]));
}

}  // namespace

int main(int argc, char** argv) {
    expect(argc == 2, "usage: example-analysis MODEL");
    std::vector<float> frame(1025), constant(512, 1.0f);
    for (std::size_t i = 0; i < frame.size(); ++i) frame[i] = 0.5f * std::sin(0.05f * static_cast<float>(i));
    transform();
    multiResolution(frame);
    resample(constant);
    frameByFrame(argv[1], frame);
    return 0;
}
