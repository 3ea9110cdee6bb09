#include "Network.h"

#include <cmath>
#include <utility>

#include "FeatureExtractor.h"
#include "Products.h"

namespace katessel::training {

namespace {

using torch::Tensor;

Tensor draw(std::vector<int64_t> shape, double deviation) { return torch::randn(shape) * deviation; }

// Frames `first` to `first + count` of a stretch.
Tensor part(const Tensor& x, int64_t first, int64_t count) { return x.narrow(0, first, count); }

}  // namespace

Network::Network(std::uint64_t seed, Tensor mean, Tensor scale) : m_mean(std::move(mean)), m_scale(std::move(scale)) {
    torch::manual_seed(seed);
    const double residual = 1.0 / std::sqrt(kTaps * kResidual);
    m_parameters.resize(parameter::count);
    const auto set = [&](int index, Tensor value) {
        m_parameters[static_cast<std::size_t>(index)] = value.requires_grad_(true);
    };
    set(parameter::initialWeights, draw({kFeatures, kResidual}, 1.0 / std::sqrt(kFeatures)));
    set(parameter::initialBias, torch::zeros({kResidual}));
    for (int l = 0; l < kLayers; ++l) {
        set(parameter::gates(l), draw({kTaps, kResidual, 2 * kResidual}, residual));
        set(parameter::gatesBias(l), torch::zeros({2 * kResidual}));
        set(parameter::skip(l), draw({kResidual, kSkip}, 3.0 / std::sqrt(kResidual)));
        set(parameter::skipLayerBias(l), torch::zeros({kSkip}));
    }
    set(parameter::skipBias, torch::zeros({kSkip}));
    set(parameter::hidden, draw({kSkip, kSkip}, std::sqrt(2.0 / kSkip)));
    set(parameter::hiddenBias, torch::zeros({kSkip}));
    set(parameter::output, draw({kSkip, kOutputs}, 0.1 / std::sqrt(kSkip)));
    set(parameter::outputBias, torch::zeros({kOutputs}));
    set(parameter::classWeights, draw({kResidual, kClasses}, 1.0 / std::sqrt(kResidual)));
    set(parameter::classBias, torch::zeros({kClasses}));
}

void Network::forward(const Tensor& features, FormOutput* streaming, FormOutput* offline) const {
    const int64_t frames = features.size(0), batch = features.size(1), results = frames - kReach;
    const double half = std::sqrt(0.5);
    const Tensor normal = (features - m_mean) * m_scale;
    const Tensor initial = product(normal.view({1, -1, kFeatures}), weight(parameter::initialWeights).unsqueeze(0),
                                   weight(parameter::initialBias), 1, m_coarse)
                               .view({frames, batch, kResidual});
    const auto gate = [&](const Tensor& x, int layer) {
        return gatedProduct(x, weight(parameter::gates(layer)), weight(parameter::gatesBias(layer)), kDilations[layer],
                            m_coarse);
    };
    const auto skip = [&](const Tensor& x, int64_t begin, int64_t count, int layer) {
        return product(part(x, begin, count), weight(parameter::skip(layer)).unsqueeze(0),
                       weight(parameter::skipLayerBias(layer)), 1, m_coarse);
    };

    // Element u of a layer's output belongs, streaming, to its newest frame, `reach so far` after u, and offline to the
    // middle one. The lines that delay the streaming skip outputs hold 6 and 2 frames and are read after 5 and 1.
    const Tensor first = gate(initial, 0);
    const Tensor firstSkip = skip(first, 1, results + 2, 0);
    const int64_t n0 = frames - 2, n1 = frames - 6;
    const auto rest = [&](int64_t firstMiddle, int64_t secondMiddle) {
        const Tensor input = (first + part(initial, firstMiddle, n0)) * half;
        const Tensor second = gate(input, 1);
        const Tensor middle = (second + part(input, secondMiddle, n1)) * half;
        const Tensor third = gate(middle, 2);
        const Tensor all =
            part(firstSkip, secondMiddle, results) + skip(second, 1, results, 1) + skip(third, 0, results, 2);
        return FormOutput{part(middle, 1, results).reshape({-1, kResidual}),
                          heads(all.view({-1, kSkip}) / kLayers + weight(parameter::skipBias))};
    };
    if (streaming != nullptr) *streaming = rest(0, 0);
    if (offline != nullptr) *offline = rest(1, 2);
}

// One product of rows, rows x inputs.
Tensor Network::rows(const Tensor& x, int weights, int bias) const {
    return product(x.unsqueeze(0), weight(weights).unsqueeze(0), weight(bias), 1, m_coarse).squeeze(0);
}

// The last product decides on cents: it stays fine.
Tensor Network::heads(const Tensor& skip) const {
    constexpr double kSlope = KaTessel::facts::kLeakySlope;
    const Tensor hidden =
        torch::leaky_relu(rows(torch::leaky_relu(skip, kSlope), parameter::hidden, parameter::hiddenBias), kSlope);
    return torch::addmm(weight(parameter::outputBias), hidden, weight(parameter::output));
}

Tensor Network::classes(const Tensor& middle) const {
    return torch::log_softmax(rows(middle, parameter::classWeights, parameter::classBias), 1);
}

const std::vector<std::string>& Network::names() {
    static const std::vector<std::string> all = [] {
        std::vector<std::string> names = {"initial", "initial bias"};
        for (int l = 0; l < kLayers; ++l)
            for (const char* part : {"gates", "gates bias", "skip", "skip bias"})
                names.push_back(std::to_string(l).append(" ").append(part));
        for (const char* last :
             {"skip sum bias", "hidden", "hidden bias", "output", "output bias", "classes", "classes bias"})
            names.emplace_back(last);
        return names;
    }();
    return all;
}

Network Network::clone() const {
    Network copy;
    for (const Tensor& value : m_parameters) copy.m_parameters.push_back(value.detach().clone().requires_grad_(true));
    copy.m_mean = m_mean;
    copy.m_scale = m_scale;
    copy.m_coarse = m_coarse;
    return copy;
}

void Network::to(const torch::Device& device) {
    for (Tensor& value : m_parameters) value = value.detach().to(device).requires_grad_(true);
    m_mean = m_mean.to(device);
    m_scale = m_scale.to(device);
}

}  // namespace katessel::training
