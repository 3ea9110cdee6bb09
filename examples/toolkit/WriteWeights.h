// Writing a layer weight file, in as few lines as it takes: what an application's exporter does.
#pragma once

#include <bit>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

struct Tensor {
    std::vector<std::int32_t> shape;  // [in, out], [taps, in, out], or [n] for a bias
    std::vector<float> values;        // row-major
};

struct Layer {
    std::string name;
    std::vector<Tensor> tensors;  // weights, bias, gain
};

// A tensor filled with a value that falls slowly, so that every weight is different.
inline Tensor falling(std::vector<std::int32_t> shape, float start) {
    std::size_t count = 1;
    for (std::int32_t size : shape) count *= static_cast<std::size_t>(size);
    Tensor tensor{std::move(shape), std::vector<float>(count)};
    for (std::size_t i = 0; i < count; ++i) tensor.values[i] = start / static_cast<float>(i + 1);
    return tensor;
}

inline void writeWeights(const std::string& path, const std::vector<Layer>& layers) {
    std::ofstream file(path, std::ios::binary);
    // Of the four bytes of a value, the lowest first.
    const auto integer = [&](std::size_t value) {
        for (int shift = 0; shift < 32; shift += 8) file.put(static_cast<char>(value >> shift));
    };
    integer(layers.size());
    for (const Layer& layer : layers) {
        file.put(static_cast<char>(layer.name.size()));
        file << layer.name;
        integer(layer.tensors.size());
        for (const Tensor& tensor : layer.tensors) {
            integer(tensor.shape.size());
            for (std::int32_t size : tensor.shape) integer(static_cast<std::size_t>(size));
            for (float value : tensor.values) integer(std::bit_cast<std::uint32_t>(value));
        }
    }
}

// Stops the example with a line when something is not as it says.
inline void expect(bool condition, const char* what) {
    if (condition) return;
    std::ofstream("/dev/stderr") << "not as expected: " << what << "\n";
    std::exit(1);
}
