#include "RowLoops.h"

#include <algorithm>
#include <cstring>

namespace katessel::training {

namespace {

// To the nearest, ties to even.
void put(float value, Coarse& out) {
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    out = static_cast<Coarse>((bits + 0x7fffu + ((bits >> 16) & 1u)) >> 16);
}

void put(float value, float& out) { out = value; }

float get(Coarse value) {
    const std::uint32_t bits = static_cast<std::uint32_t>(value) << 16;
    float number;
    std::memcpy(&number, &bits, sizeof number);
    return number;
}

float get(float value) { return value; }

}  // namespace

template <class Number>
void sideBySide(const float* x, const RowShape& shape, Number* __restrict rows) {
    for (std::int64_t r = 0; r < shape.rows(); ++r)
        for (std::int64_t k = 0; k < shape.taps; ++k) {
            const float* from = x + (r + shape.offset(k) * shape.batch) * shape.inputs;
            Number* to = rows + r * shape.columns() + k * shape.inputs;
            for (std::int64_t i = 0; i < shape.inputs; ++i) put(from[i], to[i]);
        }
}

template <class Number>
void giveBack(const Number* gradient, const RowShape& shape, float* __restrict x) {
    for (std::int64_t t = 0; t < shape.frames * shape.batch; ++t) {
        float* to = x + t * shape.inputs;
        std::fill_n(to, shape.inputs, 0.0f);
        for (std::int64_t k = 0; k < shape.taps; ++k) {
            const std::int64_t row = t - shape.offset(k) * shape.batch;
            if (row < 0 || row >= shape.rows()) continue;
            const Number* from = gradient + row * shape.columns() + k * shape.inputs;
            for (std::int64_t i = 0; i < shape.inputs; ++i) to[i] += get(from[i]);
        }
    }
}

template <class Number>
void addBias(const Number* products, const float* bias, std::int64_t rows, std::int64_t outputs,
             float* __restrict out) {
    for (std::int64_t r = 0; r < rows; ++r)
        for (std::int64_t j = 0; j < outputs; ++j) out[r * outputs + j] = get(products[r * outputs + j]) + bias[j];
}

template <class Number>
void gateInputs(const Number* products, const float* bias, std::int64_t rows, std::int64_t outputs,
                float* __restrict out) {
    const std::int64_t half = outputs / 2;
    for (std::int64_t r = 0; r < rows; ++r) {
        const Number* from = products + r * outputs;
        float* to = out + r * outputs;
        for (std::int64_t j = 0; j < half; ++j) to[j] = get(from[j]) + bias[j];
        for (std::int64_t j = half; j < outputs; ++j) to[j] = 0.5f * (get(from[j]) + bias[j]);
    }
}

void closeGates(const float* tanhs, std::int64_t rows, std::int64_t outputs, float* __restrict out) {
    const std::int64_t half = outputs / 2;
    for (std::int64_t r = 0; r < rows; ++r) {
        const float *a = tanhs + r * outputs, *b = a + half;
        for (std::int64_t j = 0; j < half; ++j) out[r * half + j] = a[j] * (0.5f + 0.5f * b[j]);
    }
}

template <class Number>
void openGates(const float* tanhs, const float* gradient, std::int64_t rows, std::int64_t outputs,
               Number* __restrict out, float* __restrict sum) {
    const std::int64_t half = outputs / 2;
    std::fill_n(sum, outputs, 0.0f);
    for (std::int64_t r = 0; r < rows; ++r) {
        const float *a = tanhs + r * outputs, *b = a + half, *g = gradient + r * half;
        Number* to = out + r * outputs;
        for (std::int64_t j = 0; j < half; ++j) {
            const float ofTanh = g[j] * (0.5f + 0.5f * b[j]) * (1.0f - a[j] * a[j]);
            const float ofSigmoid = 0.25f * g[j] * a[j] * (1.0f - b[j] * b[j]);
            sum[j] += ofTanh;
            sum[half + j] += ofSigmoid;
            put(ofTanh, to[j]);
            put(ofSigmoid, to[half + j]);
        }
    }
}

template <class Number>
void sumRows(const float* gradient, std::int64_t rows, std::int64_t outputs, Number* __restrict out,
             float* __restrict sum) {
    std::fill_n(sum, outputs, 0.0f);
    for (std::int64_t r = 0; r < rows; ++r)
        for (std::int64_t j = 0; j < outputs; ++j) {
            sum[j] += gradient[r * outputs + j];
            put(gradient[r * outputs + j], out[r * outputs + j]);
        }
}

template void sideBySide(const float*, const RowShape&, float*);
template void sideBySide(const float*, const RowShape&, Coarse*);
template void giveBack(const float*, const RowShape&, float*);
template void giveBack(const Coarse*, const RowShape&, float*);
template void addBias(const float*, const float*, std::int64_t, std::int64_t, float*);
template void addBias(const Coarse*, const float*, std::int64_t, std::int64_t, float*);
template void gateInputs(const float*, const float*, std::int64_t, std::int64_t, float*);
template void gateInputs(const Coarse*, const float*, std::int64_t, std::int64_t, float*);
template void openGates(const float*, const float*, std::int64_t, std::int64_t, float*, float*);
template void openGates(const float*, const float*, std::int64_t, std::int64_t, Coarse*, float*);
template void sumRows(const float*, std::int64_t, std::int64_t, float*, float*);
template void sumRows(const float*, std::int64_t, std::int64_t, Coarse*, float*);

}  // namespace katessel::training
