// Models of the engine's shape whose values are known, and easily spoilt.
#pragma once

#include <string>
#include <vector>

#include "support/WeightFileWriter.h"

namespace KaTessel::tests {

struct StoredLayer {
    std::string name;
    std::vector<StoredTensor> tensors;
};

// Every weight and bias is `weight`, but for the last bias: with a weight of 0 the two outputs are fixed whatever the
// sound.
inline std::vector<StoredLayer> constantLayers(float weight, float pitch, float voicing) {
    const auto layer = [=](std::string name, std::vector<int> shape) {
        const int outputs = shape.back();
        return StoredLayer{std::move(name),
                           {constantTensor(std::move(shape), weight), constantTensor({outputs}, weight)}};
    };
    std::vector<StoredLayer> layers = {layer("ENCODER_initial_causal_conv", {150, 70})};
    for (const std::string prefix : {"ENCODER_l0", "ENCODER_l1", "ENCODER_l2"}) {
        for (const char* set : {"_res_tanh", "_res_sigmoid"}) layers.push_back(layer(prefix + set, {3, 70, 70}));
        layers.push_back(layer(prefix + "_skip", {70, 120}));
    }
    layers.push_back({"ENCODER_skip_biases", {constantTensor({120}, weight)}});
    layers.push_back(layer("enc_out1", {120, 120}));
    layers.push_back({"enc_out2", {constantTensor({120, 2}, weight), StoredTensor{{2}, {pitch, voicing}}}});
    return layers;
}

inline std::string bytesOf(const std::vector<StoredLayer>& layers) {
    WeightFileWriter writer;
    for (const StoredLayer& layer : layers) writer.add(layer.name, layer.tensors);
    return writer.bytes();
}

}  // namespace KaTessel::tests
