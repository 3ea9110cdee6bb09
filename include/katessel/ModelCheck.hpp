// Refusing a weight file that the engine must not see: with a missing layer it computes zeros, and at one of the wrong
// size it ends the process. Header-only, C++17.
#ifndef KATESSEL_MODELCHECK_HPP
#define KATESSEL_MODELCHECK_HPP

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#include "katessel/LayerWeights.h"

namespace KaTessel {

// "bad model: PATH: expected EXPECTED, found FOUND".
class ModelError : public std::runtime_error {
public:
    ModelError(const std::string& path, const std::string& expected, const std::string& found)
        : std::runtime_error(compose(path, expected, found)) {}

private:
    static std::string compose(const std::string& path, const std::string& expected, const std::string& found) {
        std::string text = "bad model: ";
        return text.append(path).append(": expected ").append(expected).append(", found ").append(found);
    }
};

// Throws ModelError, which names the layer, unless the file holds every layer that the engine needs, in the right
// shape and with finite values. Layers that the engine does not ask for are not looked at.
void checkModel(const std::string& path);

namespace detail {

// What a layer must hold: weights [taps, inputs, outputs] (one tap may be left out of the shape), then perhaps a
// bias [outputs], then perhaps a gain [1, .., 1, outputs]. No inputs: only a bias.
struct NeededLayer {
    std::string name;
    int taps;
    int inputs;
    int outputs;
    bool biasRequired;
};

inline std::vector<NeededLayer> neededLayers() {
    constexpr int bands = 150, residual = 70, skip = 120, results = 2, taps = 3;
    std::vector<NeededLayer> layers = {{"ENCODER_initial_causal_conv", 1, bands, residual, true}};
    for (const char* layer : {"ENCODER_l0", "ENCODER_l1", "ENCODER_l2"}) {
        const std::string prefix = layer;
        layers.push_back({prefix + "_res_tanh", taps, residual, residual, false});
        layers.push_back({prefix + "_res_sigmoid", taps, residual, residual, false});
        layers.push_back({prefix + "_skip", 1, residual, skip, false});
    }
    layers.push_back({"ENCODER_skip_biases", 1, 0, skip, true});
    layers.push_back({"enc_out1", 1, skip, skip, false});
    layers.push_back({"enc_out2", 1, skip, results, false});
    return layers;
}

using TensorShape = std::vector<int>;

inline TensorShape shapeOf(const T_FileTensor& tensor) {
    return TensorShape(tensor.dimensions, tensor.dimensions + tensor.rank);
}

inline std::string shapeText(const TensorShape& shape) {
    std::string text = "[";
    for (const int dimension : shape) {
        if (text.size() > 1) text += ',';
        text += std::to_string(dimension);
    }
    return text.append("]");
}

// The shape without the ones that it begins with; a last one stays.
inline TensorShape trimmedShape(const TensorShape& shape) {
    const auto first = std::find_if(shape.begin(), shape.end() - 1, [](int dimension) { return dimension != 1; });
    return TensorShape(first, shape.end());
}

// One layer of one file, and what it is compared with.
class LayerCheck {
public:
    LayerCheck(const std::string& path, const NeededLayer& needed, const T_FileLayerWeights& layer)
        : m_path(path), m_needed(needed), m_layer(layer) {}

    void run() const {
        int position = 0;
        if (m_needed.inputs > 0) checkWeights(position++);
        if (m_needed.biasRequired || (position < m_layer.tensorCount && !isGain(position))) checkBias(position++);
        if (m_needed.inputs > 0 && isGain(position)) ++position;
        if (position < m_layer.tensorCount)
            failAt("nothing after tensor " + std::to_string(position - 1), shapeText(shapeAt(position)));
        for (int t = 0; t < m_layer.tensorCount; ++t) checkValues(t);
    }

private:
    [[noreturn]] void failAt(const std::string& expected, const std::string& found) const {
        throw ModelError(m_path, std::string("layer ").append(m_needed.name).append(" with ").append(expected), found);
    }

    TensorShape shapeAt(int position) const { return shapeOf(m_layer.tensors[position]); }

    void checkWeights(int position) const {
        const TensorShape expected = trimmedShape({m_needed.taps, m_needed.inputs, m_needed.outputs});
        if (position >= m_layer.tensorCount) failAt("weights " + shapeText(expected), "no tensor");
        const TensorShape shape = shapeAt(position);
        if (trimmedShape(shape) != expected) failAt("weights " + shapeText(expected), shapeText(shape));
    }

    void checkBias(int position) const {
        const TensorShape expected = {m_needed.outputs};
        if (position >= m_layer.tensorCount) failAt("bias " + shapeText(expected), "no tensor");
        const TensorShape shape = shapeAt(position);
        if (shape != expected) failAt("bias " + shapeText(expected), shapeText(shape));
    }

    bool isGain(int position) const {
        if (position >= m_layer.tensorCount || m_layer.tensors[position].rank < 3) return false;
        return trimmedShape(shapeAt(position)) == TensorShape{m_needed.outputs};
    }

    void checkValues(int position) const {
        const T_FileTensor& tensor = m_layer.tensors[position];
        const float* const begin = tensor.values;
        const float* const end = begin + tensor.count;
        const float* const bad = std::find_if(begin, end, [](float value) { return !std::isfinite(value); });
        if (bad == end) return;
        char number[32];
        std::snprintf(number, sizeof number, "%g", static_cast<double>(*bad));
        failAt("finite values", std::string(number).append(" in tensor ").append(std::to_string(position)));
    }

    const std::string& m_path;
    const NeededLayer& m_needed;
    const T_FileLayerWeights& m_layer;
};

}  // namespace detail

inline void checkModel(const std::string& path) {
    LayerFile file;
    std::string why;
    if (!file.read(path, &why)) throw ModelError(path, "a layer weight file", "one that " + why);
    for (const detail::NeededLayer& needed : detail::neededLayers()) {
        const int index = findFileLayer(needed.name, file.layerCount(), file.layers());
        if (index < 0) throw ModelError(path, "layer " + needed.name, "none of that name");
        detail::LayerCheck(path, needed, file.layers()[index]).run();
    }
}

}  // namespace KaTessel

#endif
