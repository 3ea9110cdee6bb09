// Preparing an engine for a rate, a block size and a model, and making it forget what it heard.
#include <algorithm>
#include <new>

#include "base/Files.h"
#include "base/NewFloats.h"
#include "engine/Prepared.h"
#include "katessel/CTessel.h"
#include "katessel/FloatBuffer.h"
#include "katessel/LayerWeights.h"
#include "modelio/LayerLoaders.h"
#include "nn/WaveNet2Build.h"
#include "nn/WaveNet2Parts.h"

namespace KaTessel {
namespace {

T_WN2_conf encoderShape(const std::string& modelPath) {
    T_WN2_conf conf;
    conf.file = modelPath;
    conf.name = facts::kEncoderName;
    conf.nInputs = facts::kBands;
    conf.nCond = 0;
    conf.nState = 0;
    conf.initialKernel = 1;
    conf.kernel = facts::kTaps;
    conf.dilationCycle = facts::kDilationCycle;
    conf.nLayers = facts::kLayers;
    conf.firstSkipLayer = 0;
    conf.nResidual = facts::kResidual;
    conf.nSkip = facts::kSkip;
    conf.meanSkip = true;
    conf.tanhResidual = false;
    conf.tanhInitial = false;
    conf.resOneByOne = false;
    return conf;
}

// Replaces an array of the engine by n zeros; released first, so that a repeated configure() leaks nothing.
void renew(float*& array, long n) {
    delete[] array;
    array = nullptr;
    array = newFloats(n);
}

void renewBuffer(float*& buffer, int n) {
    free_buf(buffer);
    init_buf(buffer, n);
}

void loadHead(LayerFile& file, const char* layer, float*& weights, float*& bias, int inputs, int outputs) {
    free_buf(weights);
    free_buf(bias);
    loadWeightsAndBias(file, layer, weights, bias, inputs, outputs);
}

}  // namespace

int CTessel::configure(int newSampleRate, int /*reserved*/, int maxBlockSize, char const* newModelPath) {
    if (!fileExists(newModelPath)) return -1;
    // Read once: a file that is replaced meanwhile gives all of its layers or none.
    LayerFile weights;
    weights.read(newModelPath);
    prepare(newSampleRate, maxBlockSize, newModelPath, weights);
    return 0;
}

int CTessel::configure(int newSampleRate, int /*reserved*/, int maxBlockSize, LayerFile& weights) {
    prepare(newSampleRate, maxBlockSize, std::string(), weights);
    return 0;
}

void CTessel::prepare(int newSampleRate, int maxBlockSize, const std::string& newModelPath, LayerFile& weights) {
    sampleRate = newSampleRate;
    internalRate = facts::kRate;
    renewBuffer(magnitude, facts::kBins);
    delete[] spectrumAux;
    spectrumAux = nullptr;
    delete[] complexSpectrum;
    complexSpectrum = nullptr;
    hopSize = hopSize2 = facts::kHop;
    if (internalRate != sampleRate) {
        if (resampler.interp.table == nullptr) throw std::bad_alloc();  // its constructor does not tell
        resampler.configure(maxBlockSize);
        rateRatio = static_cast<float>(sampleRate) / static_cast<float>(internalRate);
        renew(resampled, static_cast<long>(static_cast<float>(maxBlockSize) / rateRatio));
    }
    lastF0 = lastConfidence = 0.0f;
    fftSize = facts::kWindow;
    filterbank = nullptr;  // the model's
    m_prepared.reset();
    numBands = facts::kBands;
    renew(frame, fftSize + 1);
    readPos = writePos = 0;
    ringSize = facts::kRing;
    renew(ring, ringSize);
    modelPath = newModelPath;

    encoderConf = encoderShape(modelPath);
    receptiveField = calc_receptive_field(encoderConf.nLayers, encoderConf.dilationCycle, encoderConf.initialKernel,
                                          encoderConf.kernel);
    wavenet2_free(encoder);
    encoder = nullptr;
    encoder = buildWaveNet2(encoderConf, weights);
    featureHistory.assign(static_cast<std::size_t>(receptiveField),
                          std::vector<float>(static_cast<std::size_t>(numBands), 0.0f));

    const int channels = encoder->nSkip;
    renewBuffer(hidden1, channels);
    loadHead(weights, facts::kHead1Name, out1Weights, out1Bias, channels, channels);
    renewBuffer(headOut, facts::kOutputs);
    loadHead(weights, facts::kHead2Name, out2Weights, out2Bias, channels, facts::kOutputs);
    // Deliberate: a repeated configure() adds to the sum of the one before.
    for (int l = encoder->nLayers - 1; l >= 0; --l)
        lookahead += (encoder->kernel - 1) * encoder->layers[l].dilation / 2;

    // Everything is built here and nothing in the first frame, which may be in a hurry.
    makeSkipDelays(*encoder);
    const auto prepared = std::make_shared<Prepared>();
    prepared->model = EngineModel::of(*this);
    prepared->spectrum.reset(newFloats(fftSize));
    spectrum.takeWindows(prepared->model->analysis);
    filterbank = prepared->model->filterbank.rows();
    m_prepared = prepared;
}

void CTessel::reset() {
    if (ring == nullptr || encoder == nullptr) return;
    std::fill_n(ring, ringSize, 0.0f);
    readPos = writePos = 0;
    wavenet2_reset(encoder);
    std::fill(std::begin(resampler.history), std::end(resampler.history), 0.0f);
    lastF0 = lastConfidence = 0.0f;
}

}  // namespace KaTessel
