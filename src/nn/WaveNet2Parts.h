// What the forms of the WaveNet-2 network have in common.
#pragma once

#include <ctime>

#include "katessel/Globals.h"
#include "katessel/WaveNet2.h"

namespace KaTessel {

constexpr float kSqrtHalf = 0.70710677f;  // keeps the power of the residual stream from layer to layer

// Adds the processor time of its life to wavenet2_step_dur_ while performance_analysis_ is set.
class StepTimer {
public:
    StepTimer() : m_measures(performance_analysis_ != 0), m_start(m_measures ? std::clock() : 0) {}
    ~StepTimer() {
        if (m_measures) wavenet2_step_dur_ += static_cast<float>(std::clock() - m_start) * 1e-6f;
    }
    StepTimer(const StepTimer&) = delete;
    StepTimer& operator=(const StepTimer&) = delete;

private:
    bool m_measures;
    std::clock_t m_start;
};

// Row offset with which the pointwise initial convolution reads its matrix.
int initialRowOffset(const T_WN2& net);

// Initial convolution of one frame into resIn, with its tanh and its history.
//   in   nInputs values
void initialConvolution(float* in, T_WN2& net);

// Appends one frame of n values to a circular history of `size` floats.
void appendFrame(float* history, int& index, int size, const float* frame, int n);

// The layer's gated vector from its two branches, which hold the sums of all their inputs:
// gated = sigmoid(sigmoidOut) * tanh(tanhOut).
void gate(T_WN2& net);

// The layer's skip projection of the gated vector into its skipOut.
void projectSkip(T_WN2& net, T_WN2_layer& layer);

// Adds the skip bias, if there is one, to skipSum.
void addSkipBias(T_WN2& net);

}  // namespace KaTessel
