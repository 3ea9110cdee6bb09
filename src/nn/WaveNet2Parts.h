// What the forms of the WaveNet-2 network have in common.
#pragma once

#include <chrono>

#include "katessel/Globals.h"
#include "katessel/WaveNet2.h"

namespace KaTessel {

constexpr float kSqrtHalf = 0.70710677f;  // keeps the power of the residual stream from layer to layer

// Adds the time of its scope to wavenet2_step_dur_ while performance_analysis_ is set. By the steady clock, which is read
// without a system call. The sum belongs to the whole process, so every network adds to it atomically.
class StepTimer {
public:
    StepTimer() : m_measures(performance_analysis_ != 0) {
        if (m_measures) m_start = Clock::now();
    }
    ~StepTimer() {
        if (!m_measures) return;
        const float seconds = std::chrono::duration<float>(Clock::now() - m_start).count();
        // libc++ has no std::atomic_ref.
        constexpr int kOrder = __ATOMIC_RELAXED;
        float before, after;
        __atomic_load(&wavenet2_step_dur_, &before, kOrder);
        do after = before + seconds;
        while (!__atomic_compare_exchange(&wavenet2_step_dur_, &before, &after, true, kOrder, kOrder));
    }
    StepTimer(const StepTimer&) = delete;
    StepTimer& operator=(const StepTimer&) = delete;

private:
    using Clock = std::chrono::steady_clock;
    bool m_measures;
    Clock::time_point m_start;
};

// Initial convolution of one frame into resIn, with its tanh and its history.
//   in   nInputs values
void initialConvolution(float* in, T_WN2& net);

// The layer's dilated convolution of the residual stream by one of its two kernels.
//   out      nResidual values
//   weights  kernel blocks of nResidual rows of nResidual
//   bias     nResidual values, or null
void convolveStream(float* out, float* weights, float* bias, const T_WN2& net, const T_WN2_layer& layer);

// The layer's input k * dilation frames ago, k = 1 .. kernel - 1.
inline const float* pastFrame(const T_WN2& net, const T_WN2_layer& layer, int k) {
    const int at = layer.histIndex + (net.kernel - 1 - k) * layer.dilation * net.nResidual;
    return layer.hist + (at < layer.histSize ? at : at - layer.histSize);
}

// Appends one frame of n values to a circular history of `size` floats.
void appendFrame(float* history, int& index, int size, const float* frame, int n);

// Delay lines that bring the skip outputs of all layers to the frame of the last one: a layer waits for the spans
// of the layers after it. For the encoder 6, 2 and 0 frames.
void makeSkipDelays(T_WN2& net);

// Appends resIn to the layer's history and makes resOut the input of the next layer.
void advanceStream(T_WN2& net, T_WN2_layer& layer);

// The layer's gated vector from its two branches, which hold the sums of all their inputs:
// gated = sigmoid(sigmoidOut) * tanh(tanhOut).
void gate(T_WN2& net);

// The layer's skip projection of the gated vector into its skipOut.
void projectSkip(T_WN2& net, T_WN2_layer& layer);

// Adds the skip bias, if there is one, to skipSum.
void addSkipBias(T_WN2& net);

}  // namespace KaTessel
