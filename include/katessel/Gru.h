// Gated recurrent unit, stepped frame by frame, and a pair of them over a whole sequence, one in each direction.
//
// With the update gate z, the reset gate r and the candidate n:
//   z, r = sigmoid(input + recurrent)
//   n    = tanh(input + r . recurrent)
//   h    = (1 - z) . n + z . h
// where `input` is W_x x + b_x (+ W_c c + b_c) and `recurrent` is W_R h + b_R, 3H values each.
// After "Learning Phrase Representations using RNN Encoder-Decoder for Statistical Machine Translation", Cho et al.,
// 2014, except that the reset gate scales the recurrent product with its bias, not the state that goes into it: all
// products are then done before the first gate. The pair is after "Bidirectional Recurrent Neural Networks", Schuster
// and Paliwal, 1997.
#ifndef KATESSEL_GRU_H
#define KATESSEL_GRU_H

#include <string>
#include <vector>

#include "katessel/Export.h"

namespace KaTessel {

// Shape of a unit, its first state and where its weights are. H = nHidden.
struct KATESSEL_API T_GRU_conf {
    int nInputs = 0;                  // values of one input frame
    int nCond = 0;                    // values of one conditioning frame; 0: no conditioning layer
    int nHidden = 0;                  // values of the state
    bool randomInitialState = false;  // without initialState: small random values instead of zeros
    float* initialState = nullptr;    // H values to start from, copied; or null
    std::string name;                 // prefix of the layer names
    std::string file;                 // layer weight file
};

// A unit with its weights and its state; made by gru_init. One thread at a time.
// The 3H rows of every matrix, and so all arrays of 3H values, are ordered z, r, n.
struct KATESSEL_API T_GRU {
    T_GRU() = default;
    T_GRU(const T_GRU&) = delete;  // a copy would share the arrays
    T_GRU& operator=(const T_GRU&) = delete;

    int nInputs = 0, nCond = 0, nHidden = 0;
    float* inputGates = nullptr;      // 3H, input share of this frame
    float* state = nullptr;           // H, the result of the last step
    float* recurrentGates = nullptr;  // 3H, recurrent share of this frame
    float* gates = nullptr;           // 2H: z, then r
    float* candidate = nullptr;       // H
    float* inputW = nullptr;          // 3H rows of nInputs: layer NAME_xI
    float* inputB = nullptr;          // 3H; this and the biases below: null where the layer has none
    float* condW = nullptr;           // 3H rows of nCond: layer NAME_cI; null without conditioning
    float* condB = nullptr;           // 3H
    float* recurrentW = nullptr;      // 3H rows of H: layer NAME_R
    float* recurrentB = nullptr;      // 3H
};

// Builds a unit and loads its layers. A layer that the file lacks is reported on standard output and computes as zeros;
// one of the wrong size ends the process. There is no reset: free and build again.
// A random first state is H normal values of standard deviation 0.005 from generator_, which advances without a lock.
KATESSEL_API T_GRU* gru_init(T_GRU_conf conf);

// One frame; the result is g->state.
//   x  nInputs values
//   c  nCond values; not read when nCond is 0. Null: this frame goes without conditioning, its bias included
KATESSEL_API void gru_step(float* x, float* c, T_GRU* g);

// Releases a unit; null is ignored.
KATESSEL_API void gru_free(T_GRU* g);

// Shape of a pair; see T_GRU_conf.
struct KATESSEL_API T_BGRU_conf {
    int nInputs = 0, nCond = 0, nHidden = 0;
    std::string name;
    std::string file;
};

// A pair of units and the states that they start from; made by bgru_init. One thread at a time.
struct KATESSEL_API T_BGRU {
    T_BGRU() = default;
    T_BGRU(const T_BGRU&) = delete;  // a copy would share the arrays
    T_BGRU& operator=(const T_BGRU&) = delete;

    int nInputs = 0, nCond = 0, nHidden = 0;
    float* forwardInitial = nullptr;   // H: layer NAME_f_h
    float* backwardInitial = nullptr;  // H: layer NAME_b_h
    T_GRU* forward = nullptr;          // layers NAME_f_xI, NAME_f_cI, NAME_f_R
    T_GRU* backward = nullptr;         // layers NAME_b_xI, NAME_b_cI, NAME_b_R
};

// Builds a pair and loads its layers and first states, as gru_init does.
KATESSEL_API T_BGRU* bgru_init(T_BGRU_conf conf);

// A sequence of N frames through both units: the forward one from the first frame to the last, the backward one from
// the last to the first. A further call continues from the states that this one leaves.
//   in    N frames of nInputs values
//   cond  N frames of nCond values, not looked at when nCond is 0; or null: no conditioning
//   out   becomes N frames of 2H values, the forward state after that frame and then the backward one; must be neither
//         `in` nor `cond`
KATESSEL_API void bgru_process(std::vector<std::vector<float>>* in, std::vector<std::vector<float>>* cond,
                               std::vector<std::vector<float>>& out, T_BGRU* b);

// The same with a pair that is built for this call.
KATESSEL_API void bgru_process(std::vector<std::vector<float>> in, std::vector<std::vector<float>>* cond,
                               std::vector<std::vector<float>>& out, std::string name, std::string file, int nInputs,
                               int nCond, int nHidden);

// Releases a pair; null is ignored.
KATESSEL_API void bgru_free(T_BGRU* b);

}  // namespace KaTessel

#endif
