// WaveNet-2: gated dilated convolution layers with residual and skip connections.
//
// Per layer: gated = sigmoid(gate * x) . tanh(filter * x); the skip sum collects projections of `gated`; the
// next layer gets (gated + x) * sqrt(1/2). Layer l has dilation 2^(l mod dilationCycle).
// After "WaveNet: A Generative Model for Raw Audio", van den Oord et al., 2016.
#ifndef KATESSEL_WAVENET2_H
#define KATESSEL_WAVENET2_H

#include <string>
#include <vector>

#include "katessel/Export.h"

namespace KaTessel {

// Shape of a network and where its weights are.
struct KATESSEL_API T_WN2_conf {
    T_WN2_conf();
    T_WN2_conf(const T_WN2_conf&);
    T_WN2_conf& operator=(const T_WN2_conf&);
    ~T_WN2_conf();

    int nInputs = 0;             // values of one input frame
    int nCond = 0;               // values of one conditioning frame; 0: no conditioning layers
    int nState = 0;              // values of one state vector; 0: no state layers
    int initialKernel = 0;       // taps of the initial convolution; 1: pointwise
    int kernel = 0;              // taps of every dilated convolution
    int dilationCycle = 0;       // layers after which the dilation falls back to 1; at least 1
    int nLayers = 0;             // residual layers
    int firstSkipLayer = 0;      // first layer with a skip output
    int nResidual = 0;           // channels of the residual stream and of the gate
    int nSkip = 0;               // channels of the skip outputs and of the result
    bool meanSkip = false;       // divide the skip sum by the number of skip layers
    bool tanhResidual = false;   // tanh after the residual 1x1 convolution (causal step only)
    bool tanhInitial = false;    // tanh after the initial convolution
    bool spareFlag = false;      // not read
    bool resOneByOne = false;    // every layer but the last has a residual 1x1 convolution (causal step only)
    int inputMultiplicity = -1;  // above 1: the initial matrix is that many times as large, and the pointwise
                                 // initial convolution reads it from row `inputMultiplicity` on
    std::string name;            // prefix of the layer names, e.g. "ENCODER"
    std::string file;            // layer weight file
};

// One layer. R = nResidual, S = nSkip, K = kernel; pointers are null where the network has no such part.
struct T_WN2_layer {
    int dilation = 0;                // [frames]
    float* resTanhW = nullptr;       // filter: K taps of R rows of R
    float* resTanhB = nullptr;       // R
    float* condTanhW = nullptr;      // R rows of nCond
    float* condTanhB = nullptr;      // R
    float* stateTanhW = nullptr;     // R rows of nState
    float* stateTanhB = nullptr;     // R
    float* resSigmoidW = nullptr;    // gate: K taps of R rows of R
    float* resSigmoidB = nullptr;    // R
    float* condSigmoidW = nullptr;   // R rows of nCond
    float* condSigmoidB = nullptr;   // R
    float* stateSigmoidW = nullptr;  // R rows of nState
    float* stateSigmoidB = nullptr;  // R
    float* skipW = nullptr;          // S rows of R
    float* skipB = nullptr;          // S
    float* res1x1W = nullptr;        // R rows of R
    float* res1x1B = nullptr;        // R
    float* hist = nullptr;           // the last (K - 1) * dilation layer inputs, circular
    int histSize = 0;                // [floats] (K - 1) * dilation * R
    int histIndex = 0;               // [floats] oldest stored frame
    float* skipOut = nullptr;        // S, skip output of this frame
    float* skipDelay = nullptr;      // circular line of skip outputs, made by the first streaming step
    int skipDelaySize = 0;           // [floats]
    int skipDelayIndex = 0;          // [floats]
};

// A network with its weights and its streaming state; made by wavenet2_init. One thread at a time.
struct T_WN2 {
    T_WN2() = default;
    T_WN2(const T_WN2&) = delete;  // a copy would share the arrays
    T_WN2& operator=(const T_WN2&) = delete;

    std::string name;
    int nInputs = 0, nCond = 0, nState = 0, initialKernel = 0, kernel = 0, dilationCycle = 0;
    int nLayers = 0, firstSkipLayer = 0, nResidual = 0, nSkip = 0;
    bool meanSkip = false, tanhResidual = false, tanhInitial = false, spareFlag = false, resOneByOne = false;
    int inputMultiplicity = -1;
    float* initialW = nullptr;      // initialKernel taps of R rows of nInputs
    float* initialB = nullptr;      // R
    float* initialHist = nullptr;   // the last initialKernel - 1 input frames; null for a pointwise one
    int initialHistSize = 0;        // [floats]
    int initialHistIndex = 0;       // [floats]
    T_WN2_layer* layers = nullptr;  // nLayers
    float* skipBias = nullptr;      // S
    float* resIn = nullptr;         // R, residual stream: input of the current layer
    float* tanhOut = nullptr;       // R, filter branch
    float* sigmoidOut = nullptr;    // R, gate branch
    float* gated = nullptr;         // R, product of the two
    float* resOut = nullptr;        // R, residual output of the current layer
    float* res1x1Out = nullptr;     // R, output of the residual 1x1 convolution
    float* skipSum = nullptr;       // S, the network's output for the last frame
};

// Builds a network and loads its layers from conf.file under names that begin with conf.name (listed in
// docs/weight-file.md). The file is read once. A layer that it lacks is reported on standard output and computes as
// zeros. All histories start as zeros.
KATESSEL_API T_WN2* wavenet2_init(T_WN2_conf conf);

// Forgets every frame: histories, delay lines and the last output are zeros again. Allocates and releases nothing.
KATESSEL_API void wavenet2_reset(T_WN2* net);

// Releases a network; null is ignored.
KATESSEL_API void wavenet2_free(T_WN2* net);

// Frames that a stack sees: initialKernel + (kernel - 1) * (sum of the dilations).
KATESSEL_API int calc_receptive_field(int nLayers, int dilationCycle, int initialKernel, int kernel);

// One frame of a dilated convolution: out[o] = bias[o] + sum over taps k of W[k][o] . x(t - k * dilation).
//   x          nIn values, frame t
//   hist       the (kernel - 1) * dilation frames before it, circular; histSize floats, which a kernel of two taps does
//              not look at; read only: append x at histIndex afterwards
//   histIndex  [floats] the oldest of them
//   out        nOut values; must not overlap x or hist
//   W          kernel blocks of nOut rows of nIn
//   bias       nOut values, or null
KATESSEL_API void WN2_conv1D(float* x, float* hist, int histIndex, int histSize, int dilation, float* out, int kernel,
                             float* W, float* bias, int nIn, int nOut);

// Streaming step with look-ahead: takes the newest frame and leaves in net->skipSum the output for a frame in
// the past. A layer's output for frame t uses its inputs of frames t .. t + (kernel - 1) * dilation, so layers
// lag by the sum of those spans, and delay lines bring their skip outputs together. Conditioning, state and the
// residual 1x1 convolution are not used.
//   in          nInputs values
//   frameIndex  not read
//   layerDump   null, or a table of at least nLayers sequences; each receives the layer's gated vector
// Allocates its delay lines on the first call and nothing later (layerDump apart).
KATESSEL_API void wavenet2_step_noncausal(float* in, T_WN2* net, int frameIndex,
                                          std::vector<std::vector<std::vector<float>>>* layerDump);

// Causal step: no look-ahead; a layer combines its input of now with those of 1 .. kernel - 1 dilations ago, and
// net->skipSum belongs to the current frame. Must not be mixed with the streaming step on one network.
//   in     nInputs values
//   cond   nCond values; read only when the network has conditioning layers; null: as if it had none
//   state  nState values; read only when the network has state layers; null: as if it had none
// Allocates nothing.
KATESSEL_API void wavenet2_step(float* in, float* cond, float* state, T_WN2* net);

// The causal step over a sequence, with cond[i] for frame i (null: none; its last frame again when it is too short).
// `out` becomes as many frames of nSkip zeros: the sequence form advances the network's state and nothing else. Who
// wants the outputs calls wavenet2_step and reads skipSum.
KATESSEL_API void wavenet2_process_causal(std::vector<std::vector<float>> in, std::vector<std::vector<float>>* cond,
                                          std::vector<std::vector<float>>& out, T_WN2* net);

// One dilated convolution over a sequence, centred for odd kernels and looking ahead by its whole span for even ones:
// out[u] = bias + sum over taps k of W[k] in[max(u + pad - k * dilation, 0)], pad = (kernel - 1) * dilation, halved for
// odd kernels. The last pad frames stay zeros, without bias. (With no more than pad frames, out[0] is the value whose
// newest input is the last frame.)
//   in    frames of nIn values; shorter ones are filled up with zeros
//   out   replaced by as many frames of nOut values
//   W     kernel blocks of nOut rows of nIn
//   bias  nOut values, or null
KATESSEL_API void WN2_conv1D_process_noncausal(std::vector<std::vector<float>> in, std::vector<std::vector<float>>& out,
                                               int dilation, int kernel, float* W, float* bias, int nIn, int nOut);

// The same over a ring: logical frame j is in[(j + start) mod n]. Frames before the first are the logical first one;
// the output is an ordinary sequence.
KATESSEL_API void WN2_conv1D_process_noncausal_circular(std::vector<std::vector<float>> in, int start,
                                                        std::vector<std::vector<float>>& out, int dilation, int kernel,
                                                        float* W, float* bias, int nIn, int nOut);

// Offline form: the whole network over a sequence, every layer centred on its frame. Differs from the streaming step
// on purpose: the residual takes the layer's input of the same frame, and the skip mean divides by all layers.
// Conditioning, state and the residual 1x1 convolution are not used, nor is the network's streaming state.
//   in          frames of nInputs values
//   ignoredOut  not read
//   out         replaced by as many frames of nSkip values
//   dump        write every intermediate sequence to a frame matrix file "./plot/_NAME__WN_.."; see FrameMatrix.h
KATESSEL_API void wavenet2_process_noncausal(std::vector<std::vector<float>> in,
                                             std::vector<std::vector<float>>* ignoredOut,
                                             std::vector<std::vector<float>>& out, T_WN2* net, bool dump);

// The same for an input that is a ring with its logical first frame at `start`.
KATESSEL_API void wavenet2_process_noncausal_circular(std::vector<std::vector<float>> in, int start,
                                                      std::vector<std::vector<float>>* ignoredOut,
                                                      std::vector<std::vector<float>>& out, T_WN2* net, bool dump);

// Builds a network, runs it over a sequence and releases it. Causal: `out` becomes what wavenet2_process_causal gives.
// Otherwise the result goes to the driver's own copy of `cond` and `out` is left alone; callers that want it use
// wavenet2_process_noncausal. `cond` may be empty.
KATESSEL_API void wavenet2_process(std::vector<std::vector<float>> in, std::vector<std::vector<float>>* out,
                                   std::vector<std::vector<float>> cond, std::string name, std::string file,
                                   int nInputs, int nCond, int nLayers, int dilationCycle, int initialKernel,
                                   int kernel, int nResidual, int nSkip, bool meanSkip, int firstSkipLayer,
                                   bool tanhResidual, bool tanhInitial, bool causal);

}  // namespace KaTessel

#endif
