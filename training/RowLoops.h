// What stands between the matrix products of a layer, each in one pass through memory.
#ifndef KATESSEL_TRAINING_ROWLOOPS_H
#define KATESSEL_TRAINING_ROWLOOPS_H

#include <cstdint>

namespace katessel::training {

using Coarse = std::uint16_t;  // the bits of a bfloat16: a float's upper half

// A dilated convolution from frames x batch x inputs; a row of its product holds the inputs of all taps, newest first.
struct RowShape {
    std::int64_t frames, batch, inputs, taps, dilation;

    std::int64_t results() const { return frames - (taps - 1) * dilation; }  // [frames]
    std::int64_t rows() const { return results() * batch; }
    std::int64_t columns() const { return taps * inputs; }
    // [frames] by which tap k lies behind the oldest one.
    std::int64_t offset(std::int64_t tap) const { return (taps - 1 - tap) * dilation; }
};

// All below are instantiated for Number float and Coarse.

// x: frames x batch x inputs, to rows x columns; and the sum of what the rows' gradient gives back to each input.
template <class Number>
void sideBySide(const float* x, const RowShape& shape, Number* __restrict rows);
template <class Number>
void giveBack(const Number* gradient, const RowShape& shape, float* __restrict x);

// products + bias, rows x outputs.
template <class Number>
void addBias(const Number* products, const float* bias, std::int64_t rows, std::int64_t outputs, float* __restrict out);

// The same, the second half of the outputs by 0.5: as tanh wants them, of which sigmoid(b) is 0.5 + 0.5 tanh(b / 2).
template <class Number>
void gateInputs(const Number* products, const float* bias, std::int64_t rows, std::int64_t outputs,
                float* __restrict out);

// tanh(a) sigmoid(b) from the tanh of both, rows x outputs to rows x outputs / 2.
void closeGates(const float* tanhs, std::int64_t rows, std::int64_t outputs, float* __restrict out);

// The gradient of the products from that of the gates' or the sums' results, and its sum over the rows.
template <class Number>
void openGates(const float* tanhs, const float* gradient, std::int64_t rows, std::int64_t outputs,
               Number* __restrict out, float* __restrict sum);
template <class Number>
void sumRows(const float* gradient, std::int64_t rows, std::int64_t outputs, Number* __restrict out,
             float* __restrict sum);

}  // namespace katessel::training

#endif
