#include "tracking/ModelCheck.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "recordings/base/Errors.h"
#include "recordings/base/Text.h"

namespace katessel {

namespace {

constexpr char kBadModel[] = "bad model";

constexpr int kBands = 150;
constexpr int kResidual = 70;
constexpr int kSkip = 120;
constexpr int kOutputs = 2;
constexpr int kTaps = 3;
constexpr int kLayers = 3;

// What a layer must hold: weights [taps, inputs, outputs] (one tap may be left out of the shape), then perhaps a
// bias [outputs], then perhaps a gain [1, .., 1, outputs]. No inputs: only a bias.
struct Needed {
    std::string name;
    int taps = 1;
    int inputs = 0;
    int outputs = 0;
    bool biasRequired = false;
};

std::vector<Needed> neededLayers() {
    std::vector<Needed> layers = {{"ENCODER_initial_causal_conv", 1, kBands, kResidual, true}};
    for (int l = 0; l < kLayers; ++l) {
        const std::string prefix = "ENCODER_l" + std::to_string(l);
        layers.push_back({prefix + "_res_tanh", kTaps, kResidual, kResidual});
        layers.push_back({prefix + "_res_sigmoid", kTaps, kResidual, kResidual});
        layers.push_back({prefix + "_skip", 1, kResidual, kSkip});
    }
    layers.push_back({"ENCODER_skip_biases", 1, 0, kSkip});
    layers.push_back({"enc_out1", 1, kSkip, kSkip});
    layers.push_back({"enc_out2", 1, kSkip, kOutputs});
    return layers;
}

using Shape = std::vector<int>;

// The shape without the ones that it begins with; a last one stays.
Shape trimmed(Shape shape) {
    const auto first = std::find_if(shape.begin(), shape.end() - 1, [](int dimension) { return dimension != 1; });
    return Shape(first, shape.end());
}

bool isGain(const Shape& shape, int outputs) {
    return shape.size() >= 3 && trimmed(shape) == Shape{outputs};
}

bool isTrueGain(const WeightLayer& layer, std::size_t position, int outputs) {
    return position < layer.tensors.size() && isGain(layer.tensors[position].shape, outputs);
}

// The first thing about a layer's tensors that the engine could not take.
class LayerCheck {
public:
    LayerCheck(const Needed& needed, const WeightLayer& layer) : m_needed(needed), m_layer(layer) {}

    std::vector<WeightFault> run() {
        std::size_t position = 0;
        if (m_needed.inputs > 0) checkWeights(position++);
        const bool biasNeeded = m_needed.inputs == 0 || m_needed.biasRequired;
        if (biasNeeded || (position < m_layer.tensors.size() && !nextIsGain(position))) checkBias(position++);
        if (m_needed.inputs > 0 && nextIsGain(position)) ++position;
        if (position < m_layer.tensors.size())
            report(position, "nothing after tensor " + std::to_string(position - 1), shapeText(shapeAt(position)));
        if (m_faults.size() > 1) m_faults.resize(1);  // the others follow from the first
        return m_faults;
    }

private:
    const Shape& shapeAt(std::size_t position) const { return m_layer.tensors[position].shape; }

    void report(std::size_t position, const std::string& expected, const std::string& found) {
        const bool there = position < m_layer.tensors.size();
        m_faults.push_back({there ? m_layer.tensors[position].offset : m_layer.offset,
                            "layer " + m_needed.name + " with " + expected, there ? found : "no tensor"});
    }

    void checkWeights(std::size_t position) {
        const Shape expected = trimmed({m_needed.taps, m_needed.inputs, m_needed.outputs});
        if (position >= m_layer.tensors.size() || trimmed(shapeAt(position)) != expected)
            report(position, "weights " + shapeText(expected), foundAt(position));
    }

    void checkBias(std::size_t position) {
        const Shape expected = {m_needed.outputs};
        if (position >= m_layer.tensors.size() || shapeAt(position) != expected)
            report(position, "bias " + shapeText(expected), foundAt(position));
    }

    std::string foundAt(std::size_t position) const {
        return position < m_layer.tensors.size() ? shapeText(shapeAt(position)) : std::string();
    }

    bool nextIsGain(std::size_t position) const { return isTrueGain(m_layer, position, m_needed.outputs); }

    const Needed& m_needed;
    const WeightLayer& m_layer;
    std::vector<WeightFault> m_faults;
};

// One fault for every tensor that holds a value that is not finite.
std::vector<WeightFault> valueFaults(const WeightLayer& layer) {
    std::vector<WeightFault> faults;
    for (std::size_t t = 0; t < layer.tensors.size(); ++t) {
        const std::vector<float>& values = layer.tensors[t].values;
        const auto isBad = [](float value) { return !std::isfinite(value); };
        const auto bad = std::find_if(values.begin(), values.end(), isBad);
        if (bad == values.end()) continue;
        const auto index = bad - values.begin();
        const auto others = std::count_if(bad, values.end(), isBad) - 1;
        std::string found = shortNumber(*bad);
        found.append(" in tensor ").append(std::to_string(t)).append(", value ").append(std::to_string(index));
        if (others > 0) found.append(" and ").append(std::to_string(others)).append(" more");
        const auto offset = layer.tensors[t].valuesOffset + index * static_cast<std::ptrdiff_t>(sizeof(float));
        faults.push_back({offset, "layer " + layer.name + " with finite values", found});
    }
    return faults;
}

void append(std::vector<WeightFault>& all, const std::vector<WeightFault>& more) {
    all.insert(all.end(), more.begin(), more.end());
}

// Of equal names the first counts.
const WeightLayer* findLayer(const WeightFile& file, const std::string& name) {
    const auto layer = std::find_if(file.layers.begin(), file.layers.end(),
                                    [&](const WeightLayer& candidate) { return candidate.name == name; });
    return layer == file.layers.end() ? nullptr : &*layer;
}

// What keeps the engine from computing with a file.
std::vector<WeightFault> engineFaults(const WeightFile& file) {
    std::vector<WeightFault> faults = file.faults;
    if (!faults.empty()) return faults;
    for (const Needed& needed : neededLayers()) {
        const WeightLayer* const layer = findLayer(file, needed.name);
        if (layer == nullptr) {
            faults.push_back({file.layersEnd, "layer " + needed.name, "none of that name"});
        } else {
            append(faults, LayerCheck(needed, *layer).run());
            append(faults, valueFaults(*layer));
        }
    }
    return faults;
}

// What the engine tolerates.
std::vector<WeightFault> toleratedFaults(const WeightFile& file) {
    std::vector<WeightFault> faults;
    std::set<std::string> seen;
    for (const WeightLayer& layer : file.layers) {
        if (layer.nameHoldsZero)
            faults.push_back({layer.offset, "a name without zero bytes", "one after \"" + layer.name + "\""});
        const bool again = !seen.insert(layer.name).second;
        if (again) faults.push_back({layer.offset, "layer " + layer.name + " once", "it again"});
        if (again || !isNeededLayer(layer.name)) append(faults, valueFaults(layer));
    }
    if (file.faults.empty() && file.layersEnd < file.size)
        faults.push_back({file.layersEnd, "the end of the file after the last layer",
                          std::to_string(file.size - file.layersEnd) + " more bytes"});
    return faults;
}

}  // namespace

bool isNeededLayer(const std::string& name) {
    const std::vector<Needed> needed = neededLayers();
    return std::any_of(needed.begin(), needed.end(), [&](const Needed& layer) { return layer.name == name; });
}

std::string roleOf(const WeightLayer& layer, std::size_t tensor) {
    const Shape& shape = layer.tensors[tensor].shape;
    const Shape& weights = layer.tensors.front().shape;
    if (tensor == 0) return shape.size() == 1 && layer.tensors.size() == 1 ? "bias" : "weights";
    if (tensor == 1 && shape.size() == 1) return "bias";
    if (tensor <= 2 && isGain(shape, weights.back())) return "gain";
    return "unused";
}

std::vector<WeightFault> findFaults(const WeightFile& file) {
    std::vector<WeightFault> faults = engineFaults(file);
    append(faults, toleratedFaults(file));
    std::stable_sort(faults.begin(), faults.end(),
                     [](const WeightFault& a, const WeightFault& b) { return a.offset < b.offset; });
    return faults;
}

void checkModel(const std::string& path) {
    const std::vector<WeightFault> faults = engineFaults(readWeightFile(path));
    if (!faults.empty()) fail(kBadModel, path, faults.front().expected, faults.front().found);
}

}  // namespace katessel
