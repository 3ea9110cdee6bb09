#include "engine/NaiveEngine.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>

#include "nn/Networks.h"
#include "support/WeightFileWriter.h"

namespace KaTessel::tests {
namespace {

#include "resample/PrototypeTable.inc"

constexpr int kBands = 150, kBins = 513, kHop = 120, kFrame = 1024;

T_WN2_conf encoderShape() {
    T_WN2_conf conf = kEncoder.conf();
    conf.name = "ENCODER";
    return conf;
}

double mel(double hz) { return hz < 1000.0 ? hz * 3.0 / 200.0 : 15.0 + std::log(hz / 1000.0) * 27.0 / std::log(6.4); }

double hz(double mel) {
    return mel < 15.0 ? mel * 200.0 / 3.0 : 1000.0 * std::exp((mel - 15.0) * std::log(6.4) / 27.0);
}

// Triangles of unit area between neighbouring edges, equally spaced in mel from 5 to 7000 Hz.
std::vector<std::vector<double>> melBands() {
    std::vector<std::vector<double>> bands(kBands, std::vector<double>(kBins));
    const auto edge = [](int i) { return hz(mel(5.0) + (mel(7000.0) - mel(5.0)) * i / (kBands + 1)); };
    for (int b = 0; b < kBands; ++b) {
        const double low = edge(b), middle = edge(b + 1), high = edge(b + 2);
        for (int k = 0; k < kBins; ++k) {
            const double f = k * 24000.0 / 1024.0;
            const double height = std::min((f - low) / (middle - low), (high - f) / (high - middle));
            bands[static_cast<std::size_t>(b)][static_cast<std::size_t>(k)] =
                std::max(height, 0.0) * 2.0 / (high - low);
        }
    }
    return bands;
}

void scale(NaiveKernel& kernel, float factor) {
    for (float& w : kernel.stored) w *= factor;
}

double rectified(double x) { return x < 0.0 ? 0.2 * x : x; }

FilterBank converterBank() {
    return polyphaseBank(std::vector<double>(std::begin(kPrototype), std::end(kPrototype)), 16, 16, 16.0);
}

// One block at the host's rate to 24 kHz; `history` holds the 32 samples before and is moved on.
std::vector<double> convert(const std::vector<float>& block, float ratio, int outputs, std::vector<float>& history) {
    std::vector<float> work = history;
    work.insert(work.end(), block.begin(), block.end());
    work.resize(work.size() + 64, 0.0f);
    const int consumed = static_cast<int>(static_cast<float>(outputs) * ratio + 0.5f);
    std::vector<double> out = interpolated(converterBank(), work, 16.0, static_cast<double>(ratio), outputs);
    history.assign(work.begin() + consumed, work.begin() + consumed + 32);
    return out;
}

}  // namespace

NaiveEngine::NaiveEngine(Random& random)
    : m_conf(encoderShape()),
      m_network(m_conf, random, true),
      m_out1(randomKernel(random, 1, 120, 120, true)),
      m_out2(randomKernel(random, 1, 120, 2, true)),
      m_spectrum(SpectrumArguments{1025}),
      m_bands(melBands()) {
    scale(m_out2, 0.1f);
    m_out2.bias = {-0.2f, -0.02f};
}

void NaiveEngine::saveModel(const std::string& path) const {
    WeightFileWriter writer;
    m_network.addTo(writer);
    writer.add("enc_out1", m_out1.tensors());
    writer.add("enc_out2", m_out2.tensors());
    writer.save(path);
}

std::vector<float> NaiveEngine::features(const std::vector<double>& sound, long centre, bool lastSampleIsZero) const {
    std::vector<float> frame(1025);
    for (long i = 0; i < 1025; ++i) {
        const long at = centre - 512 + i;
        const bool silent = at < 0 || at >= static_cast<long>(sound.size()) || (lastSampleIsZero && i == kFrame);
        frame[static_cast<std::size_t>(i)] = silent ? 0.0f : static_cast<float>(sound[static_cast<std::size_t>(at)]);
    }
    const Points bins = m_spectrum.spectrum(frame, true);
    std::vector<float> result;
    for (const std::vector<double>& band : m_bands) {
        double energy = 0.0;
        for (std::size_t k = 0; k < bins.size(); ++k) energy += band[k] * std::abs(bins[k]);
        result.push_back(static_cast<float>(20.0 * std::log10(std::max(energy, 1e-7)) / 70.0 + 1.0));
    }
    return result;
}

NaivePair NaiveEngine::heads(Frame skip, double pitchOffset) const {
    for (double& v : skip) v = rectified(v);
    Frame hidden = convolveAt({skip}, 0, m_out1, 1);
    for (double& v : hidden) v = rectified(v);
    const Frame y = convolveAt({hidden}, 0, m_out2, 1);
    return {(1.0 + y[0]) * 2.187756 - pitchOffset, std::max(0.0, (0.04 - y[1]) * 25.0)};
}

std::vector<NaivePair> NaiveEngine::stream(const std::vector<float>& sound, int rate, int block) {
    const float ratio = static_cast<float>(rate) / 24000.0f;
    std::vector<float> history(32, 0.0f);
    std::vector<double> internal;
    for (std::size_t at = 0; at < sound.size(); at += static_cast<std::size_t>(block)) {
        const std::size_t end = std::min(sound.size(), at + static_cast<std::size_t>(block));
        const std::vector<float> samples(sound.begin() + static_cast<long>(at), sound.begin() + static_cast<long>(end));
        if (rate == 24000) {
            internal.insert(internal.end(), samples.begin(), samples.end());
            continue;
        }
        const int outputs = static_cast<int>(static_cast<float>(samples.size()) / ratio);
        const std::vector<double> converted = convert(samples, ratio, outputs, history);
        internal.insert(internal.end(), converted.begin(), converted.end());
    }
    std::vector<NaivePair> pairs;
    for (std::size_t start = 0; start + kFrame <= internal.size(); start += kHop)
        pairs.push_back(heads(m_network.step(features(internal, static_cast<long>(start) + 512, true)), 3.0666435));
    return pairs;
}

std::vector<NaivePair> NaiveEngine::offlineNetwork(const Signal& inputs) const {
    std::vector<NaivePair> pairs;
    for (const Frame& skip : m_network.process(inputs)) pairs.push_back(heads(skip, 3.0586433));
    return pairs;
}

std::vector<NaivePair> NaiveEngine::offline(const std::vector<float>& sound, int rate) {
    std::vector<double> internal(sound.begin(), sound.end());
    if (rate != 24000) {
        const float ratio = static_cast<float>(rate) / 24000.0f;
        std::vector<float> history(32, 0.0f);
        internal = convert(sound, ratio, static_cast<int>(static_cast<float>(sound.size()) / ratio + 0.5f), history);
    }
    Signal inputs;
    for (std::size_t f = 0; f < internal.size() / kHop; ++f) {
        const std::vector<float> row = features(internal, static_cast<long>(f) * kHop, false);
        inputs.emplace_back(row.begin(), row.end());
    }
    return offlineNetwork(inputs);
}

std::vector<float> voiceWithNoise(Random& random, int samples, int rate) {
    std::vector<float> sound;
    double phase = 0.0;
    for (int i = 0; i < samples; ++i) {
        phase += 2.0 * std::numbers::pi * (180.0 + 80.0 * std::sin(20.0 * i / rate)) / rate;
        double sum = 0.0;
        for (int h = 1; h <= 20; ++h) sum += std::sin(h * phase) / h;
        sound.push_back(static_cast<float>(0.2 * sum) + random.uniform(-0.05f, 0.05f));
    }
    return sound;
}

}  // namespace KaTessel::tests
