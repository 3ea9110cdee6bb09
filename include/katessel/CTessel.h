// The engine behind the C interface: from samples at any rate to frequency and confidence, every 5 ms.
#ifndef KATESSEL_CTESSEL_H
#define KATESSEL_CTESSEL_H

#include <memory>
#include <string>
#include <vector>

#include "katessel/CKaResample.h"
#include "katessel/Export.h"
#include "katessel/MRSpectrum.h"
#include "katessel/WaveNet2.h"

namespace KaTessel {

class LayerFile;
struct Prepared;

// One engine. Sizes in comments are those after configure(). One thread at a time.
class KATESSEL_API CTessel {
public:
    CTessel();
    ~CTessel();
    CTessel(const CTessel&) = delete;
    CTessel& operator=(const CTessel&) = delete;

    // The functions of the C interface; see KTessel.h for arguments and results. configure() throws std::bad_alloc where
    // there is no memory, for the resampler's filter too, and std::bad_array_new_length for a negative block size.
    int configure(int sampleRate, int reserved, int maxBlockSize, char const* modelPath);
    int doProcess(float const* input, int numSamples, float* outF0, float* outConfidence, int centsMode);
    int doProcessOffline(float const* input, int numSamples, float* outF0, float* outConfidence, int centsMode);
    static int GetAnalysisLatency();
    int GetTotalSamplesLatency();
    int GetNumOutputFramesForInputSamples(int numSamples);

    // As above, with weights that were read before; `modelPath` is empty then. Of `weights` nothing is kept but what is
    // copied: layers that it lacks compute as zeros, and one of the wrong size ends the process. Returns 0.
    int configure(int sampleRate, int reserved, int maxBlockSize, LayerFile& weights);

    // Forgets the live signal: the next sample is the first one, as after configure(). Touches no file, allocates
    // nothing. Without a configured network it does nothing.
    void reset();

    // One analysis frame, from the samples in `frame` to the two outputs. Returns 0.
    int doProcess(float* outF0, float* outConfidence, int centsMode);

    // The stages of one frame in their order, each reading what the one before left. Weights, windows and filterbank are
    // those of the last configure(): what is written into the arrays below later, only the toolkit's functions see.
    void spectrumStage(float* samples);  // fftSize + 1 samples (`frame`) -> complexSpectrum -> magnitude
    void bandStage(float* features);     // magnitude -> numBands features, dB / 70 + 1
    void networkStage(float* features);  // features -> encoder->skipSum
    void headStage();                    // encoder->skipSum (rectified in place) -> hidden1 -> headOut

    int sampleRate = 0;    // [Hz] of the host
    int internalRate = 0;  // [Hz] 24000
    int hopSize = 0;       // [samples at 24 kHz] 120
    int hopSize2 = 0;      // the same
    int reservedInt = 0;
    float reservedFloat = -10000.0f;
    float* frame = nullptr;  // fftSize + 1; the last one stays 0
    int ringSize = 0;        // 24000, one second
    int readPos = 0;         // [samples] start of the next frame
    int writePos = 0;        // [samples] where the next sample goes
    float* ring = nullptr;   // ringSize, at 24 kHz
    T_WN2_conf encoderConf;
    T_WN2* encoder = nullptr;
    std::vector<std::vector<float>> featureHistory;  // receptiveField rows of numBands; not read
    int receptiveField = 0;                          // [frames] 9
    float* hidden1 = nullptr;                        // 120, output of "enc_out1"
    float* out1Weights = nullptr;                    // 120 rows of 120
    float* out1Bias = nullptr;                       // 120
    float* headOut = nullptr;                        // 2: pitch and voicing, as the network scales them
    float* out2Weights = nullptr;                    // 2 rows of 120
    float* out2Bias = nullptr;                       // 2
    int lookahead = 0;                               // [frames] 4; grows with every configure()
    std::string modelPath;
    int fftSize = 0;               // [samples] 1024
    int numBands = 0;              // 150
    float** filterbank = nullptr;  // numBands rows of fftSize / 2 + 1; shared by engines of one model, to be read only
    MRSpectrum spectrum;
    float lastF0 = 0.0f;  // the held pair, in the unit that it was asked for in; 0, 0 before the first frame
    float lastConfidence = 0.0f;
    KaResample::CKaResample resampler;
    float rateRatio = 1.0f;            // sampleRate / internalRate; keeps its value while the two are equal
    float* resampled = nullptr;        // maxBlockSize / rateRatio
    float* magnitude = nullptr;        // 513
    float* spectrumAux = nullptr;      // stays null in the engine's output mode
    float* complexSpectrum = nullptr;  // 1024, laid out as MRSpectrum says; made by the first frame

private:
    KATESSEL_LOCAL void prepare(int sampleRate, int maxBlockSize, const std::string& modelPath, LayerFile& weights);
    KATESSEL_LOCAL void appendToRing(const float* samples, int count);
    KATESSEL_LOCAL int unreadSamples() const;

    friend struct Prepared;
    // What else configure() prepares; none before. Without a type, so that what is behind it may change from version to
    // version.
    std::shared_ptr<void> m_prepared;
};

}  // namespace KaTessel

#endif
