// Convolutions over time that take a sequence of frames at once and carry their history from call to call.
//
// With K taps, output t is causal, of the inputs t - K + 1 .. t, or centred: delayed by D = (K - 1) / 2 frames (rounded
// down), so that it sees the inputs t - (K - 1 - D) .. t + D.
#ifndef KATESSEL_FEEDFORWARDSTACK_H
#define KATESSEL_FEEDFORWARDSTACK_H

#include <string>
#include <vector>

#include "katessel/Export.h"

namespace KaTessel {

// Shape of a layer and where its weights are.
struct KATESSEL_API T_FF_CONV1D_conf {
    std::string file;  // layer weight file
    std::string name;  // layer name, used as it is
    int kernel = 0;    // taps, at least 1
    int nIn = 0;       // values of one input frame
    int nOut = 0;      // values of one output frame
};

// A layer with its weights and its history; made by FF_CONV1D_init. One thread at a time.
struct KATESSEL_API T_FF_CONV1D {
    T_FF_CONV1D() = default;
    T_FF_CONV1D(const T_FF_CONV1D&) = delete;  // a copy would share the arrays
    T_FF_CONV1D& operator=(const T_FF_CONV1D&) = delete;

    int kernel = 0, nIn = 0, nOut = 0;
    float* weights = nullptr;  // kernel blocks of nOut rows of nIn; block k multiplies the frame k frames ago
    float* bias = nullptr;     // nOut, or null: none
    float* history = nullptr;  // the last kernel - 1 input frames, circular; zeros at first
    int historySize = 0;       // [floats] (kernel - 1) * nIn; 0 for a pointwise layer
    int historyIndex = 0;      // [floats] oldest frame, where the next one is stored
};

// Builds a layer and loads its weights, [kernel, nIn, nOut] in the file. A layer that the file lacks is reported on
// standard output and computes as zeros; one of the wrong size ends the process.
KATESSEL_API T_FF_CONV1D* FF_CONV1D_init(T_FF_CONV1D_conf conf);
KATESSEL_API T_FF_CONV1D* FF_CONV1D_init(std::string file, std::string name, int nIn, int nOut, int kernel);

// Releases what the layer holds and sets it to null, but not the record, which its owner deletes. Null is ignored.
KATESSEL_API void FF_CONV1D_free(T_FF_CONV1D* layer);

// A sequence of N frames through the layer.
//   in      N frames of nIn values
//   out     becomes N frames of nOut values; what it held is dropped
//   causal  false: centred; D frames of zeros then follow the last input, and the first D outputs are dropped
// A further call continues the stream; centred, the D frames of zeros are part of it.
KATESSEL_API void FF_CONV1D_process(std::vector<std::vector<float>> in, std::vector<std::vector<float>>& out,
                                    T_FF_CONV1D* layer, bool causal);

// The same with a layer that is loaded for this call. With one tap, frames that `out` holds and that are longer than
// nOut keep their length and the values behind.
KATESSEL_API void FF_CONV1D_process(std::vector<std::vector<float>> in, std::vector<std::vector<float>>& out,
                                    std::string file, std::string name, int nIn, int nOut, int kernel, bool causal);

// Places kept for a general convolution layer, which does nothing.
struct KATESSEL_API T_CONV1D_conf {};
struct KATESSEL_API T_CONV1D {};

// An empty record, deleted by its owner.
KATESSEL_API T_CONV1D* conv1d_init(T_CONV1D_conf conf);

// Neither reads the frame nor changes anything.
KATESSEL_API void conv1d_step(float* x, T_CONV1D* layer);

}  // namespace KaTessel

#endif
