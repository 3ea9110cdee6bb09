// Refusing a weight file that the engine must not see: with a missing layer it computes zeros, and at one of the wrong
// size it ends the process. Header-only, C++17.
#ifndef KATESSEL_MODELCHECK_HPP
#define KATESSEL_MODELCHECK_HPP

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "katessel/EngineFacts.hpp"
#include "katessel/LayerWeights.h"
#include "katessel/ModelFile.hpp"

namespace KaTessel {
inline namespace v1 {

// What is wrong with a weight file, and where.
struct ModelFault {
    std::string layer;         // empty: the file as a whole
    int tensor = -1;           // counted from 0 in its layer; -1: the layer as a whole
    std::int64_t offset = -1;  // [bytes] from the start of the file, its end for what is missing; -1: of no place
    std::string expected;
    std::string found;

    // "byte 557123: expected layer enc_out2 with weights [120,2], found [60,4]"
    std::string text() const {
        std::string all = offset < 0 ? "" : "byte " + std::to_string(offset) + ": ";
        return all.append("expected ").append(expected).append(", found ").append(found);
    }
};

using TensorShape = std::vector<int>;

inline TensorShape shapeOf(const T_FileTensor& tensor) {
    return TensorShape(tensor.dimensions, tensor.dimensions + tensor.rank);
}

// "[3,70,70]"
inline std::string shapeText(const TensorShape& shape) {
    std::string text = "[";
    for (const int dimension : shape) text.append(text.size() > 1 ? "," : "").append(std::to_string(dimension));
    return text.append("]");
}

namespace detail {

// The shape without the ones that it begins with; a last one stays.
inline TensorShape trimmedShape(const TensorShape& shape) {
    const auto first = std::find_if(shape.begin(), shape.end() - 1, [](int dimension) { return dimension != 1; });
    return TensorShape(first, shape.end());
}

inline bool isGain(const TensorShape& shape, int outputs) {
    return shape.size() >= 3 && trimmedShape(shape) == TensorShape{outputs};
}

// A layer's tensors against what the engine needs: the first fault of their shapes, for the others follow from it.
class LayerShapeCheck {
public:
    LayerShapeCheck(const facts::ModelLayer& needed, const T_FileLayerWeights& layer)
        : m_needed(needed), m_layer(layer) {}

    std::vector<ModelFault> run() {
        int position = 0;
        if (m_needed.inputs > 0)
            expectShape(position++, "weights ", trimmedShape({m_needed.taps, m_needed.inputs, m_needed.outputs}), true);
        if (m_needed.needsBias || (isThere(position) && !isGainAt(position)))
            expectShape(position++, "bias ", {m_needed.outputs}, false);
        if (m_needed.inputs > 0 && isGainAt(position)) ++position;
        if (isThere(position))
            report(position, "nothing after tensor " + std::to_string(position - 1), shapeText(shapeAt(position)));
        return m_faults;
    }

private:
    bool isThere(int position) const { return position < m_layer.tensorCount; }
    bool isGainAt(int position) const { return isThere(position) && isGain(shapeAt(position), m_needed.outputs); }
    TensorShape shapeAt(int position) const { return shapeOf(m_layer.tensors[position]); }

    // `ones`: the shape in the file may begin with ones.
    void expectShape(int position, const char* role, const TensorShape& expected, bool ones) {
        if (!isThere(position)) {
            report(position, role + shapeText(expected), "no tensor");
            return;
        }
        const TensorShape shape = shapeAt(position);
        if ((ones ? trimmedShape(shape) : shape) != expected)
            report(position, role + shapeText(expected), shapeText(shape));
    }

    void report(int position, const std::string& expected, const std::string& found) {
        if (!m_faults.empty()) return;
        const bool there = isThere(position);
        m_faults.push_back({m_needed.name, there ? position : -1,
                            there ? m_layer.tensors[position].offset : m_layer.offset,
                            std::string("layer ").append(m_needed.name).append(" with ").append(expected), found});
    }

    const facts::ModelLayer& m_needed;
    const T_FileLayerWeights& m_layer;
    std::vector<ModelFault> m_faults;
};

// One fault for every tensor that holds a value that is not finite.
inline std::vector<ModelFault> valueFaults(const T_FileLayerWeights& layer) {
    std::vector<ModelFault> faults;
    for (int t = 0; t < layer.tensorCount; ++t) {
        const T_FileTensor& tensor = layer.tensors[t];
        const float* const end = tensor.values + tensor.count;
        const auto isBad = [](float value) { return !std::isfinite(value); };
        const float* const bad = std::find_if(static_cast<const float*>(tensor.values), end, isBad);
        if (bad == end) continue;
        const std::ptrdiff_t index = bad - tensor.values, others = std::count_if(bad + 1, end, isBad);
        char number[32];
        std::snprintf(number, sizeof number, "%g", static_cast<double>(*bad));
        std::string found = number;
        found.append(" in tensor ").append(std::to_string(t)).append(", value ").append(std::to_string(index));
        if (others > 0) found.append(" and ").append(std::to_string(others)).append(" more");
        faults.push_back({layer.name, t, tensor.valuesOffset() + index * static_cast<std::int64_t>(sizeof(float)),
                          "layer " + layer.name + " with finite values", found});
    }
    return faults;
}

inline void append(std::vector<ModelFault>& all, std::vector<ModelFault> more) {
    all.insert(all.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

// What LayerFile::read said, as a fault.
inline ModelFault formatFault(const LayerFile& file, const std::string& why) {
    return {"", -1, file.size() > 0 ? file.end() : -1, "a layer weight file", "one that " + why};
}

}  // namespace detail

// Whether the engine asks for a layer of that name.
inline bool isNeededLayer(const std::string& name) {
    const auto& layers = facts::kModelLayers;
    return std::any_of(std::begin(layers), std::end(layers), [&](const auto& layer) { return name == layer.name; });
}

// What a tensor of a layer is by its position and shape: "weights", "bias", "gain" or, where none of them can stand,
// "unused".
inline const char* tensorRole(const T_FileLayerWeights& layer, int tensor) {
    const TensorShape shape = shapeOf(layer.tensors[tensor]), weights = shapeOf(layer.tensors[0]);
    if (tensor == 0) return shape.size() == 1 && layer.tensorCount == 1 ? "bias" : "weights";
    if (tensor == 1 && shape.size() == 1) return "bias";
    return tensor <= 2 && detail::isGain(shape, weights.back()) ? "gain" : "unused";
}

// Everything that keeps the engine from computing with a file: layers that it needs and that are missing, have the wrong
// shape or hold values that are not finite. Layers that the engine does not ask for are not looked at.
inline std::vector<ModelFault> engineFaults(const LayerFile& file) {
    std::vector<ModelFault> faults;
    const T_FileLayerWeights* const begin = file.layers();
    const T_FileLayerWeights* const end = begin + file.layerCount();
    for (const facts::ModelLayer& needed : facts::kModelLayers) {
        // Of equal names the first counts.
        const auto* const layer = std::find_if(begin, end, [&](const auto& held) { return held.name == needed.name; });
        if (layer == end) {
            faults.push_back({needed.name, -1, file.end(), std::string("layer ") + needed.name, "none of that name"});
            continue;
        }
        detail::append(faults, detail::LayerShapeCheck(needed, *layer).run());
        detail::append(faults, detail::valueFaults(*layer));
    }
    return faults;
}

// What the engine does not mind but a careful writer would not have left in a file: names that come twice or hold a zero
// byte, values that are not finite in other layers, bytes after the last layer.
inline std::vector<ModelFault> carelessFaults(const LayerFile& file) {
    std::vector<ModelFault> faults;
    std::set<std::string> seen;
    for (int l = 0; l < file.layerCount(); ++l) {
        const T_FileLayerWeights& layer = file.layers()[l];
        if (static_cast<std::size_t>(layer.nameLength) > layer.name.size())
            faults.push_back(
                {layer.name, -1, layer.offset, "a name without zero bytes", "one after \"" + layer.name + "\""});
        const bool again = !seen.insert(layer.name).second;
        if (again) faults.push_back({layer.name, -1, layer.offset, "layer " + layer.name + " once", "it again"});
        if (again || !isNeededLayer(layer.name)) detail::append(faults, detail::valueFaults(layer));
    }
    if (file.end() < file.size())
        faults.push_back({"", -1, file.end(), "the end of the file after the last layer",
                          std::to_string(file.size() - file.end()) + " more bytes"});
    return faults;
}

// Reads a file, which `file` then holds, and lists all of its faults, those of both kinds, in the order of the file;
// missing layers come last. A file that breaks the format has that one fault.
inline std::vector<ModelFault> modelFaults(const std::string& path, LayerFile& file) {
    std::string why;
    if (!file.read(path, &why)) return {detail::formatFault(file, why)};
    std::vector<ModelFault> faults = engineFaults(file);
    detail::append(faults, carelessFaults(file));
    std::stable_sort(faults.begin(), faults.end(),
                     [](const ModelFault& a, const ModelFault& b) { return a.offset < b.offset; });
    return faults;
}

// Throws ModelError, which names the layer, for the first fault that keeps the engine from computing with a file.
inline void checkModel(const std::string& path) {
    LayerFile file;
    std::string why;
    const auto refuse = [&](const ModelFault& fault) { throw ModelError(path, fault.expected, fault.found); };
    if (!file.read(path, &why)) refuse(detail::formatFault(file, why));
    const std::vector<ModelFault> faults = engineFaults(file);
    if (!faults.empty()) refuse(faults.front());
}

}  // namespace v1
}  // namespace KaTessel

#endif
