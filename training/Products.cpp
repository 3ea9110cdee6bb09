#include "Products.h"

namespace {

using torch::Tensor;

// One product for all taps: each row holds the inputs of all taps side by side, newest tap first.
class DilatedProduct : public torch::autograd::Function<DilatedProduct> {
public:
    static Tensor forward(torch::autograd::AutogradContext* context, const Tensor& x, const Tensor& weights,
                          const Tensor& bias, int64_t dilation, bool coarse) {
        const int64_t taps = weights.size(0), frames = x.size(0) - (taps - 1) * dilation;
        const torch::ScalarType type = coarse ? torch::kBFloat16 : torch::kFloat32;
        const Tensor rows = sideBySide(x.to(type), taps, dilation, frames);
        context->save_for_backward({rows, weights});
        context->saved_data["dilation"] = dilation;
        context->saved_data["frames"] = x.size(0);
        context->saved_data["batch"] = x.size(1);
        Tensor out = torch::mm(rows, weights.view({-1, weights.size(2)}).to(type)).to(torch::kFloat32);
        out.add_(bias);
        return out.view({frames, x.size(1), weights.size(2)});
    }

    static torch::autograd::variable_list backward(torch::autograd::AutogradContext* context,
                                                   torch::autograd::variable_list gradients) {
        const auto saved = context->get_saved_variables();
        const Tensor &rows = saved[0], &weights = saved[1];
        const int64_t dilation = context->saved_data["dilation"].toInt(),
                      frames = context->saved_data["frames"].toInt(), batch = context->saved_data["batch"].toInt();
        const int64_t taps = weights.size(0), inputs = weights.size(1), outputs = weights.size(2);
        const Tensor g = gradients[0].reshape({-1, outputs}), coarse = g.to(rows.scalar_type());
        const Tensor gw = torch::mm(rows.t(), coarse).to(torch::kFloat32).view({taps, inputs, outputs});
        Tensor gx;
        if (context->needs_input_grad(0)) {
            const Tensor all = torch::mm(coarse, weights.view({-1, outputs}).to(rows.scalar_type()).t());
            gx = torch::zeros({frames, batch, inputs});
            const int64_t results = frames - (taps - 1) * dilation;
            for (int64_t k = 0; k < taps; ++k)
                gx.narrow(0, (taps - 1 - k) * dilation, results)
                    .add_(all.narrow(1, k * inputs, inputs).view({results, batch, inputs}));
        }
        return {gx, gw, g.sum(0), Tensor(), Tensor()};
    }

private:
    static Tensor sideBySide(const Tensor& x, int64_t taps, int64_t dilation, int64_t frames) {
        const int64_t inputs = x.size(2);
        if (taps == 1) return x.reshape({-1, inputs});
        std::vector<Tensor> parts;
        for (int64_t k = 0; k < taps; ++k) parts.push_back(x.narrow(0, (taps - 1 - k) * dilation, frames));
        return torch::cat(parts, 2).view({-1, taps * inputs});
    }
};

}  // namespace

torch::Tensor product(const Tensor& x, const Tensor& weights, const Tensor& bias, std::int64_t dilation, bool coarse) {
    return DilatedProduct::apply(x, weights, bias, dilation, coarse);
}
