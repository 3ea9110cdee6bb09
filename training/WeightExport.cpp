#include "WeightExport.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "FeatureExtractor.h"
#include "katessel/LayerWeights.h"
#include "recordings/base/Errors.h"
#include "recordings/base/OutputFile.h"

namespace katessel::training {

namespace {

using torch::Tensor;

struct Layer {
    std::string name;
    std::vector<Tensor> tensors;
};

void append(std::string& bytes, const void* data, std::size_t size) {
    bytes.append(static_cast<const char*>(data), size);
}

void appendInteger(std::string& bytes, std::int64_t value) {
    const std::int32_t number = static_cast<std::int32_t>(value);
    append(bytes, &number, sizeof number);
}

void appendLayer(std::string& bytes, const Layer& layer) {
    const std::uint8_t length = static_cast<std::uint8_t>(layer.name.size());
    append(bytes, &length, 1);
    bytes.append(layer.name);
    appendInteger(bytes, static_cast<std::int64_t>(layer.tensors.size()));
    for (const Tensor& value : layer.tensors) {
        const Tensor flat = value.to(torch::kCPU, torch::kFloat32).contiguous();
        appendInteger(bytes, flat.dim());
        for (const std::int64_t size : flat.sizes()) appendInteger(bytes, size);
        append(bytes, flat.data_ptr<float>(), static_cast<std::size_t>(flat.numel()) * sizeof(float));
    }
}

// In the order of kModelLayers.
std::vector<Layer> layersOf(const Network& network) {
    const auto value = [&](int index) {
        return network.parameters()[static_cast<std::size_t>(index)].detach().to(torch::kFloat64);
    };
    const Tensor mean = network.mean().to(torch::kFloat64), scale = network.scale().to(torch::kFloat64);
    const Tensor initial = value(parameter::initialWeights) * scale.view({-1, 1});
    std::vector<Layer> layers;
    const auto add = [&](std::vector<Tensor> tensors) {
        layers.push_back({KaTessel::facts::kModelLayers[layers.size()].name, std::move(tensors)});
    };
    add({initial.unsqueeze(0), value(parameter::initialBias) - torch::mv(initial.t(), mean)});
    for (int l = 0; l < kLayers; ++l) {
        const auto half = [&](const Tensor& both, int index) { return both.narrow(-1, index * kResidual, kResidual); };
        const Tensor gates = value(parameter::gates(l)), bias = value(parameter::gatesBias(l));
        add({half(gates, 0), half(bias, 0)});
        add({half(gates, 1), half(bias, 1)});
        add({value(parameter::skip(l)).unsqueeze(0), value(parameter::skipLayerBias(l))});
    }
    add({value(parameter::skipBias)});
    add({value(parameter::hidden), value(parameter::hiddenBias)});
    add({value(parameter::output), value(parameter::outputBias)});
    return layers;
}

// The inverse of layersOf.
void setLayers(Network& network, const std::vector<Layer>& layers) {
    const torch::NoGradGuard noGradients;
    const auto set = [&](int index, const Tensor& value) {
        network.parameters()[static_cast<std::size_t>(index)].copy_(value);
    };
    const Tensor initial = layers[0].tensors[0].squeeze(0);
    set(parameter::initialWeights, initial / network.scale().to(torch::kFloat64).view({-1, 1}));
    set(parameter::initialBias, layers[0].tensors[1] + torch::mv(initial.t(), network.mean().to(torch::kFloat64)));
    for (int l = 0; l < kLayers; ++l) {
        const Layer *tanh = &layers[static_cast<std::size_t>(1 + 3 * l)], *sigmoid = tanh + 1, *skip = tanh + 2;
        set(parameter::gates(l), torch::cat({tanh->tensors[0], sigmoid->tensors[0]}, -1));
        set(parameter::gatesBias(l), torch::cat({tanh->tensors[1], sigmoid->tensors[1]}, -1));
        set(parameter::skip(l), skip->tensors[0].squeeze(0));
        set(parameter::skipLayerBias(l), skip->tensors[1]);
    }
    const Layer* last = &layers[1 + 3 * kLayers];
    set(parameter::skipBias, last[0].tensors[0]);
    set(parameter::hidden, last[1].tensors[0]);
    set(parameter::hiddenBias, last[1].tensors[1]);
    set(parameter::output, last[2].tensors[0]);
    set(parameter::outputBias, last[2].tensors[1]);
}

}  // namespace

void exportWeights(const Network& network, const std::string& path) {
    const std::vector<Layer> layers = layersOf(network);
    std::string bytes;
    appendInteger(bytes, static_cast<std::int64_t>(layers.size()));
    for (const Layer& layer : layers) appendLayer(bytes, layer);
    OutputFile(path).write(bytes);
}

void importWeights(const std::string& path, Network& network) {
    KaTessel::LayerFile file;
    std::string why;
    if (!file.read(path, &why)) fail("cannot start", path, "a weight file", why);
    std::vector<Layer> layers = layersOf(network);
    for (Layer& layer : layers) {
        const auto* found = std::find_if(file.layers(), file.layers() + file.layerCount(),
                                         [&](const auto& other) { return other.name == layer.name; });
        const std::size_t count = layer.tensors.size();
        if (found == file.layers() + file.layerCount() || static_cast<std::size_t>(found->tensorCount) != count)
            fail("cannot start", path, "layer \"" + layer.name + "\" without a gain", "another");
        for (std::size_t t = 0; t < count; ++t) {
            if (found->tensors[t].count != layer.tensors[t].numel())
                fail("cannot start", path, std::to_string(layer.tensors[t].numel()) + " values in " + layer.name,
                     std::to_string(found->tensors[t].count));
            layer.tensors[t] = torch::from_blob(found->tensors[t].values, layer.tensors[t].sizes()).to(torch::kFloat64);
        }
    }
    setLayers(network, layers);
}

}  // namespace katessel::training
