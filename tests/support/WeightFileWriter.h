// Builds layer weight files, good ones and broken ones.
#pragma once

#include <string>
#include <vector>

namespace KaTessel::tests {

// A tensor as a file stores it: row-major, the last dimension varies fastest.
struct StoredTensor {
    std::vector<int> dimensions;
    std::vector<float> values;
};

// A tensor of the values first, first + 1, ..
StoredTensor countingTensor(std::vector<int> dimensions, float first = 0.0f);

// A tensor of equal values.
StoredTensor constantTensor(std::vector<int> dimensions, float value);

// The file's primitives, for files that break the format.
class Bytes {
public:
    Bytes& int32(long long value);  // the low 32 bits, little-endian
    Bytes& byte(int value);
    Bytes& text(const std::string& characters);  // as they are
    Bytes& floats(const std::vector<float>& values);
    Bytes& tensor(const StoredTensor& tensor);
    Bytes& layerHead(const std::string& name, int tensorCount);

    const std::string& get() const { return m_bytes; }
    void save(const std::string& path) const;

private:
    std::string m_bytes;
};

// A well-formed file, layer by layer.
class WeightFileWriter {
public:
    WeightFileWriter& add(std::string name, std::vector<StoredTensor> tensors);
    std::string bytes() const;
    void save(const std::string& path) const;

private:
    struct Layer {
        std::string name;
        std::vector<StoredTensor> tensors;
    };
    std::vector<Layer> m_layers;
};

void saveBytes(const std::string& path, const std::string& bytes);

}  // namespace KaTessel::tests
