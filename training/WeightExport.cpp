#include "WeightExport.h"

#include <cstdint>
#include <utility>
#include <vector>

#include "FeatureExtractor.h"
#include "recordings/base/OutputFile.h"

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

std::vector<Layer> layersOf(const Network& network) {
    const auto value = [&](int index) {
        return network.parameters()[static_cast<std::size_t>(index)].detach().to(torch::kFloat64);
    };
    const Tensor mean = network.mean().to(torch::kFloat64), scale = network.scale().to(torch::kFloat64);
    const Tensor initial = value(parameter::initialWeights) * scale.view({-1, 1});
    std::vector<Layer> layers = {
        {"ENCODER_initial_causal_conv",
         {initial.unsqueeze(0), value(parameter::initialBias) - torch::mv(initial.t(), mean)}}};
    for (int l = 0; l < kLayers; ++l) {
        const std::string name = "ENCODER_l" + std::to_string(l);
        const auto half = [&](const Tensor& both, int index) { return both.narrow(-1, index * kResidual, kResidual); };
        const Tensor gates = value(parameter::gates(l)), bias = value(parameter::gatesBias(l));
        layers.push_back({name + "_res_tanh", {half(gates, 0), half(bias, 0)}});
        layers.push_back({name + "_res_sigmoid", {half(gates, 1), half(bias, 1)}});
        layers.push_back(
            {name + "_skip", {value(parameter::skip(l)).unsqueeze(0), value(parameter::skipLayerBias(l))}});
    }
    layers.push_back({"ENCODER_skip_biases", {value(parameter::skipBias)}});
    layers.push_back({"enc_out1", {value(parameter::hidden), value(parameter::hiddenBias)}});
    layers.push_back({"enc_out2", {value(parameter::output), value(parameter::outputBias)}});
    return layers;
}

}  // namespace

void exportWeights(const Network& network, const std::string& path) {
    const std::vector<Layer> layers = layersOf(network);
    std::string bytes;
    appendInteger(bytes, static_cast<std::int64_t>(layers.size()));
    for (const Layer& layer : layers) appendLayer(bytes, layer);
    katessel::OutputFile(path).write(bytes);
}
