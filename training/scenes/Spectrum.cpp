#include "Spectrum.h"

#include <torch/torch.h>

#include <algorithm>

namespace katessel::training {

namespace {

// At least so many samples, and quick to transform: a power of two or three quarters of one.
std::size_t quickSize(std::size_t samples) {
    std::size_t size = 4;
    while (size < samples) size *= 2;
    return size / 4 * 3 >= samples ? size / 4 * 3 : size;
}

}  // namespace

Bins transform(const Samples& samples, std::size_t size) {
    Samples padded(size, 0.0f);
    std::copy_n(samples.begin(), std::min(size, samples.size()), padded.begin());
    const torch::Tensor bins =
        torch::fft::rfft(torch::from_blob(padded.data(), {static_cast<int64_t>(size)})).contiguous();
    const auto* first = reinterpret_cast<const std::complex<float>*>(bins.data_ptr());
    return {first, first + size / 2 + 1};
}

Samples inverse(const Bins& bins, std::size_t size) {
    Bins copy = bins;
    const torch::Tensor spectrum =
        torch::from_blob(copy.data(), {static_cast<int64_t>(copy.size())}, torch::kComplexFloat);
    const torch::Tensor samples = torch::fft::irfft(spectrum, static_cast<int64_t>(size)).contiguous();
    return {samples.data_ptr<float>(), samples.data_ptr<float>() + size};
}

Samples convolve(const Samples& samples, const Samples& response) {
    const std::size_t size = quickSize(samples.size() + response.size());
    Bins bins = transform(samples, size);
    const Bins filter = transform(response, size);
    for (std::size_t i = 0; i < bins.size(); ++i) bins[i] *= filter[i];
    Samples filtered = inverse(bins, size);
    filtered.resize(samples.size());
    return filtered;
}

}  // namespace katessel::training
