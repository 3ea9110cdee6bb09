#include "support/WeightFileWriter.h"

#include <cstring>
#include <fstream>
#include <numeric>
#include <stdexcept>
#include <utility>

#include "katessel/Paths.hpp"

namespace KaTessel::tests {

StoredTensor constantTensor(std::vector<int> dimensions, float value) {
    std::size_t n = 1;
    for (int d : dimensions) n *= static_cast<std::size_t>(d);
    return {std::move(dimensions), std::vector<float>(n, value)};
}

StoredTensor countingTensor(std::vector<int> dimensions, float first) {
    StoredTensor t = constantTensor(std::move(dimensions), first);
    std::iota(t.values.begin(), t.values.end(), first);
    return t;
}

Bytes& Bytes::int32(long long value) {
    for (int shift = 0; shift < 32; shift += 8) byte(static_cast<int>((value >> shift) & 0xff));
    return *this;
}

Bytes& Bytes::byte(int value) {
    m_bytes.push_back(static_cast<char>(value));
    return *this;
}

Bytes& Bytes::text(const std::string& characters) {
    m_bytes += characters;
    return *this;
}

Bytes& Bytes::floats(const std::vector<float>& values) {
    for (float v : values) {
        unsigned bits;
        std::memcpy(&bits, &v, sizeof bits);
        int32(bits);
    }
    return *this;
}

Bytes& Bytes::tensor(const StoredTensor& tensor) {
    int32(static_cast<long long>(tensor.dimensions.size()));
    for (int d : tensor.dimensions) int32(d);
    return floats(tensor.values);
}

Bytes& Bytes::layerHead(const std::string& name, int tensorCount) {
    return byte(static_cast<int>(name.size())).text(name).int32(tensorCount);
}

void Bytes::save(const std::string& path) const { saveBytes(path, m_bytes); }

WeightFileWriter& WeightFileWriter::add(std::string name, std::vector<StoredTensor> tensors) {
    m_layers.push_back({std::move(name), std::move(tensors)});
    return *this;
}

std::string WeightFileWriter::bytes() const {
    Bytes out;
    out.int32(static_cast<long long>(m_layers.size()));
    for (const Layer& layer : m_layers) {
        out.layerHead(layer.name, static_cast<int>(layer.tensors.size()));
        for (const StoredTensor& t : layer.tensors) out.tensor(t);
    }
    return out.get();
}

void WeightFileWriter::save(const std::string& path) const { saveBytes(path, bytes()); }

void saveBytes(const std::string& path, const std::string& bytes) {
    std::ofstream file(pathOf(path), std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) throw std::runtime_error("cannot write " + path);
}

}  // namespace KaTessel::tests
