#include "Products.h"

#include "RowLoops.h"

namespace katessel::training {

namespace {

using torch::Tensor;

constexpr torch::ScalarType kTypes[] = {torch::kFloat32, torch::kBFloat16};  // fine, coarse

// The numbers of a tensor of that type, as the loops take them.
template <class Work>
void withNumbers(Tensor& tensor, Work&& work) {
    if (tensor.scalar_type() == torch::kFloat32)
        work(tensor.data_ptr<float>());
    else
        work(reinterpret_cast<Coarse*>(tensor.data_ptr<c10::BFloat16>()));
}

// In one operation after another, wherever the tensors are.
Tensor plainProduct(const Tensor& x, const Tensor& weights, const Tensor& bias, std::int64_t dilation, bool coarse) {
    const std::int64_t taps = weights.size(0), frames = x.size(0) - (taps - 1) * dilation;
    std::vector<Tensor> parts;
    for (std::int64_t k = 0; k < taps; ++k) parts.push_back(x.narrow(0, (taps - 1 - k) * dilation, frames));
    const Tensor rows = torch::cat(parts, 2).view({frames * x.size(1), -1}).to(kTypes[coarse]);
    const Tensor products = torch::mm(rows, weights.view({-1, weights.size(2)}).to(kTypes[coarse]));
    return (products.to(torch::kFloat32) + bias).view({frames, x.size(1), weights.size(2)});
}

// One product for all taps on the processor: what stands before and behind it takes one pass through memory.
class RowProduct : public torch::autograd::Function<RowProduct> {
public:
    static Tensor forward(torch::autograd::AutogradContext* context, const Tensor& x, const Tensor& weights,
                          const Tensor& bias, std::int64_t dilation, bool gated, bool coarse) {
        const RowShape shape = {x.size(0), x.size(1), x.size(2), weights.size(0), dilation};
        const std::int64_t outputs = weights.size(2);
        const Tensor input = x.contiguous();
        Tensor rows = torch::empty({shape.rows(), shape.columns()}, kTypes[coarse]);
        withNumbers(rows, [&](auto* to) { sideBySide(input.data_ptr<float>(), shape, to); });
        Tensor products = torch::mm(rows, weights.view({-1, outputs}).to(kTypes[coarse]));
        Tensor sums = torch::empty({shape.rows(), outputs});
        withNumbers(products, [&](const auto* from) {
            float *offset = bias.data_ptr<float>(), *to = sums.data_ptr<float>();
            gated ? gateInputs(from, offset, shape.rows(), outputs, to)
                  : addBias(from, offset, shape.rows(), outputs, to);
        });
        context->saved_data["dilation"] = dilation;
        context->saved_data["frames"] = shape.frames;
        context->saved_data["batch"] = shape.batch;
        context->saved_data["gated"] = gated;
        if (!gated) {
            context->save_for_backward({rows, weights});
            return sums.view({shape.results(), shape.batch, outputs});
        }
        sums.tanh_();
        context->save_for_backward({rows, weights, sums});
        Tensor out = torch::empty({shape.results(), shape.batch, outputs / 2});
        closeGates(sums.data_ptr<float>(), shape.rows(), outputs, out.data_ptr<float>());
        return out;
    }

    static torch::autograd::variable_list backward(torch::autograd::AutogradContext* context,
                                                   torch::autograd::variable_list gradients) {
        const auto saved = context->get_saved_variables();
        const Tensor &rows = saved[0], &weights = saved[1];
        const std::int64_t outputs = weights.size(2);
        const RowShape shape = {context->saved_data["frames"].toInt(), context->saved_data["batch"].toInt(),
                                weights.size(1), weights.size(0), context->saved_data["dilation"].toInt()};
        const Tensor gradient = gradients[0].contiguous();
        Tensor ofProducts = torch::empty({shape.rows(), outputs}, rows.scalar_type()), ofBias = torch::empty({outputs});
        withNumbers(ofProducts, [&](auto* to) {
            const float* from = gradient.data_ptr<float>();
            float* sum = ofBias.data_ptr<float>();
            if (context->saved_data["gated"].toBool())
                openGates(saved[2].data_ptr<float>(), from, shape.rows(), outputs, to, sum);
            else
                sumRows(from, shape.rows(), outputs, to, sum);
        });
        const Tensor ofWeights = torch::mm(rows.t(), ofProducts).to(torch::kFloat32).view(weights.sizes());
        Tensor ofInput;
        if (context->needs_input_grad(0)) {
            Tensor ofRows = torch::mm(ofProducts, weights.view({-1, outputs}).to(rows.scalar_type()).t());
            ofInput = torch::empty({shape.frames, shape.batch, shape.inputs});
            withNumbers(ofRows, [&](const auto* from) { giveBack(from, shape, ofInput.data_ptr<float>()); });
        }
        return {ofInput, ofWeights, ofBias, Tensor(), Tensor(), Tensor()};
    }
};

}  // namespace

Tensor product(const Tensor& x, const Tensor& weights, const Tensor& bias, std::int64_t dilation, bool coarse) {
    if (!x.device().is_cpu()) return plainProduct(x, weights, bias, dilation, coarse);
    return RowProduct::apply(x, weights, bias, dilation, false, coarse);
}

Tensor gatedProduct(const Tensor& x, const Tensor& weights, const Tensor& bias, std::int64_t dilation, bool coarse) {
    if (x.device().is_cpu()) return RowProduct::apply(x, weights, bias, dilation, true, coarse);
    const Tensor gates = plainProduct(x, weights, bias, dilation, coarse);
    const std::int64_t half = gates.size(2) / 2;
    return torch::tanh(gates.narrow(2, 0, half)) * torch::sigmoid(gates.narrow(2, half, half));
}

}  // namespace katessel::training
