// The fixed figures of the engine, each in one place: time, features, the network's shape and names, and what its two
// outputs mean. Everything that must agree with the engine (conversions, plans, training, reports) takes them from here.
// Header-only, C++17.
#ifndef KATESSEL_ENGINEFACTS_HPP
#define KATESSEL_ENGINEFACTS_HPP

namespace KaTessel {
inline namespace v1 {
namespace facts {

// Time. The engine's frames are 5 ms apart.
inline constexpr int kRate = 24000;  // [Hz] that every engine works at
inline constexpr int kFramesPerSecond = 200;
inline constexpr int kHop = kRate / kFramesPerSecond;  // [samples at kRate] 120
inline constexpr double kHopSeconds = 0.005;
inline constexpr int kWindow = 1024;                 // [samples at kRate] of a live frame; length of the transform
inline constexpr int kAnalysisLength = kWindow + 1;  // [samples at kRate] odd, so that the window has a centre
inline constexpr int kRing = kRate;                  // [samples at kRate] remembered; one of them stays unused

// Host rates, and the filter that converts them to kRate.
inline constexpr int kLowestRate = 1000;                        // [Hz]
inline constexpr int kLargestRateRatio = 10;                    // host rate / kRate
inline constexpr int kHighestRate = kLargestRateRatio * kRate;  // [Hz]
inline constexpr int kFilterTaps = 16;                          // [host samples] that one converted sample depends on
inline constexpr int kFilterDelay = 9;                          // [host samples]; none where the host's rate is kRate

// Features: the levels of mel bands in dB, mapped from -kDecibelRange .. 0 dB to 0 .. 1.
inline constexpr int kBins = kWindow / 2 + 1;       // 513
inline constexpr int kBands = 150;                  // features per frame
inline constexpr float kSmallestEnergy = 1e-7f;     // -140 dB
inline constexpr float kPerDecibel = 0.014285714f;  // 1 / 70

// The network: an initial product kBands -> kResidual, gated layers of kTaps taps each with a skip output of kSkip
// channels, and two heads, kSkip -> kSkip -> kOutputs, with a leaky rectifier before each.
inline constexpr int kResidual = 70;
inline constexpr int kSkip = 120;
inline constexpr int kLayers = 3;
inline constexpr int kTaps = 3;
inline constexpr int kDilationCycle = 2;               // layers after which the dilation is 1 again
inline constexpr int kDilations[kLayers] = {1, 2, 1};  // [frames]
inline constexpr int kOutputs = 2;                     // pitch and voicing
inline constexpr float kLeakySlope = 0.2f;

// [frames] that one answer depends on: 9.
inline constexpr int kReceptiveField = 1 + (kTaps - 1) * (kDilations[0] + kDilations[1] + kDilations[2]);
// [frames] between the newest that an answer depends on and the one that it is about: the middle. 4.
inline constexpr int kLookahead = kReceptiveField / 2;
// [frames] of silence that a sound needs before it (offline on both sides), so that every answer has all its frames. 8.
inline constexpr int kLeadFrames = kReceptiveField - 1;
// Live frame j, counted from 0, analyses samples kHop j .. kHop j + kWindow - 1, and its answer is about sample
// kHop j + kLiveInstant. Offline frame f is about sample kHop f.
inline constexpr int kLiveInstant = kWindow / 2 - kLookahead * kHop;  // [samples at kRate] 32

// Pitch: the first output y0 in octaves above kReferenceHz is (1 + y0) * kOctavesPerUnit - offset. Deliberate: the
// live and the offline form have an offset each, and models are trained for both. y0 = 0 is 239.3 Hz live and 240.6 Hz
// offline.
inline constexpr float kReferenceHz = 440.0f;
inline constexpr float kCentsPerOctave = 1200.0f;
inline constexpr float kOctavesPerUnit = 2.187756f;
inline constexpr float kLiveOffset = 3.0666435f;     // [octaves]
inline constexpr float kOfflineOffset = 3.0586433f;  // [octaves]
// Below these bounds, about 1.4 Hz both, a frame's frequency reads 0.
inline constexpr float kLiveUnvoiced = -3.4073477f;    // of y0
inline constexpr float kOfflineUnvoiced = -8.333333f;  // [octaves above kReferenceHz]

// Confidence: the second output y1 becomes (kVoicingLimit - y1) * kConfidencePerUnit, and 0 where that is negative: 1 at
// 0, 0 from kVoicingLimit on, not limited above.
inline constexpr float kVoicingLimit = 0.04f;
inline constexpr float kConfidencePerUnit = 25.0f;

// Names in a weight file.
inline constexpr char kEncoderName[] = "ENCODER";  // begins the names of the network's own layers
inline constexpr char kHead1Name[] = "enc_out1";
inline constexpr char kHead2Name[] = "enc_out2";

// What a layer must hold: weights [taps, inputs, outputs], then perhaps a bias [outputs], then perhaps a
// weight-normalisation gain [1, .., 1, outputs]. No inputs: only a bias.
struct ModelLayer {
    const char* name;
    int taps;
    int inputs;
    int outputs;
    bool needsBias;
};

// Every layer that the engine asks a weight file for, in the order in which it does.
inline constexpr ModelLayer kModelLayers[] = {
    {"ENCODER_initial_causal_conv", 1, kBands, kResidual, true},
    {"ENCODER_l0_res_tanh", kTaps, kResidual, kResidual, false},
    {"ENCODER_l0_res_sigmoid", kTaps, kResidual, kResidual, false},
    {"ENCODER_l0_skip", 1, kResidual, kSkip, false},
    {"ENCODER_l1_res_tanh", kTaps, kResidual, kResidual, false},
    {"ENCODER_l1_res_sigmoid", kTaps, kResidual, kResidual, false},
    {"ENCODER_l1_skip", 1, kResidual, kSkip, false},
    {"ENCODER_l2_res_tanh", kTaps, kResidual, kResidual, false},
    {"ENCODER_l2_res_sigmoid", kTaps, kResidual, kResidual, false},
    {"ENCODER_l2_skip", 1, kResidual, kSkip, false},
    {"ENCODER_skip_biases", 1, 0, kSkip, true},
    {kHead1Name, 1, kSkip, kSkip, false},
    {kHead2Name, 1, kSkip, kOutputs, false},
};

static_assert(kReceptiveField == 9 && kLookahead == 4 && kLeadFrames == 8 && kHop == 120);

}  // namespace facts
}  // namespace v1
}  // namespace KaTessel

#endif
