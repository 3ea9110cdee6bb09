#include "ModelCheck.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "Errors.h"
#include "katessel/LayerWeights.h"

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

Shape shapeOf(const KaTessel::T_FileTensor& tensor) {
    return Shape(tensor.dimensions, tensor.dimensions + tensor.rank);
}

std::string text(const Shape& shape) {
    std::string all = "[";
    for (const int dimension : shape) {
        if (all.size() > 1) all += ',';
        all += std::to_string(dimension);
    }
    all += ']';
    return all;
}

// The shape without the ones that it begins with; a last one stays.
Shape trimmed(Shape shape) {
    const auto first = std::find_if(shape.begin(), shape.end() - 1, [](int dimension) { return dimension != 1; });
    return Shape(first, shape.end());
}

bool isGain(const Shape& shape, int outputs) {
    return shape.size() >= 3 && trimmed(shape) == Shape{outputs};
}

// One layer of one file, and what it is compared with.
class LayerCheck {
public:
    LayerCheck(const std::string& path, const Needed& needed, const KaTessel::T_FileLayerWeights& layer)
        : m_path(path), m_needed(needed), m_layer(layer) {}

    void run() const {
        int position = 0;
        if (m_needed.inputs > 0) checkWeights(position++);
        const bool biasNeeded = m_needed.inputs == 0 || m_needed.biasRequired;
        if (biasNeeded || (position < m_layer.tensorCount && !nextIsGain(position))) checkBias(position++);
        if (m_needed.inputs > 0 && nextIsGain(position)) ++position;
        if (position < m_layer.tensorCount)
            failAt("nothing after tensor " + std::to_string(position - 1), text(shapeOf(m_layer.tensors[position])));
        for (int t = 0; t < m_layer.tensorCount; ++t) checkValues(t);
    }

private:
    [[noreturn]] void failAt(const std::string& expected, const std::string& found) const {
        fail(kBadModel, m_path, "layer " + m_needed.name + " with " + expected, found);
    }

    void checkWeights(int position) const {
        const Shape full = {m_needed.taps, m_needed.inputs, m_needed.outputs};
        if (position >= m_layer.tensorCount) failAt("weights " + text(trimmed(full)), "no tensor");
        const Shape shape = shapeOf(m_layer.tensors[position]);
        if (trimmed(shape) != trimmed(full)) failAt("weights " + text(trimmed(full)), text(shape));
    }

    void checkBias(int position) const {
        const Shape expected = {m_needed.outputs};
        if (position >= m_layer.tensorCount) failAt("bias " + text(expected), "no tensor");
        const Shape shape = shapeOf(m_layer.tensors[position]);
        if (shape != expected) failAt("bias " + text(expected), text(shape));
    }

    bool nextIsGain(int position) const {
        return position < m_layer.tensorCount && isGain(shapeOf(m_layer.tensors[position]), m_needed.outputs);
    }

    void checkValues(int position) const {
        const KaTessel::T_FileTensor& tensor = m_layer.tensors[position];
        const float* const begin = tensor.values;
        const float* const end = begin + tensor.count;
        const float* const bad = std::find_if_not(begin, end, [](float value) { return std::isfinite(value); });
        if (bad != end) failAt("finite values", shortNumber(*bad) + " in tensor " + std::to_string(position));
    }

    const std::string& m_path;
    const Needed& m_needed;
    const KaTessel::T_FileLayerWeights& m_layer;
};

}  // namespace

void checkModel(const std::string& path) {
    KaTessel::LayerFile file;
    std::string why;
    if (!file.read(path, &why)) fail(kBadModel, path, "a layer weight file", "one that " + why);
    for (const Needed& needed : neededLayers()) {
        const int index = KaTessel::findFileLayer(needed.name, file.layerCount(), file.layers());
        if (index < 0) fail(kBadModel, path, "layer " + needed.name, "none of that name");
        LayerCheck(path, needed, file.layers()[index]).run();
    }
}
