#include "tracking/WeightFile.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <utility>

namespace katessel {

namespace {

constexpr char kAFile[] = "a layer weight file";
constexpr std::uint32_t kMostLayers = 10000;
constexpr int kHighestRank = 10;
constexpr std::int64_t kSmallestTensor = 12;  // [bytes] a rank, one dimension, one value

// Thrown where the format is broken; readWeightFile keeps it.
struct Broken {
    WeightFault fault;
};

class WeightReader {
public:
    WeightReader(std::string bytes, WeightFile& file) : m_bytes(std::move(bytes)), m_file(file) {}

    void read() {
        const auto count = take<std::uint32_t>("the layer count");
        if (count > kMostLayers)
            breakAt(0, std::to_string(count) + " layers, more than " + std::to_string(kMostLayers));
        for (std::uint32_t i = 0; i < count; ++i) readLayer(i);
        m_file.layersEnd = m_position;
    }

private:
    std::int64_t bytesLeft() const { return static_cast<std::int64_t>(m_bytes.size()) - m_position; }

    // The engine's own reader says it in these words: a file "that ..".
    [[noreturn]] void breakAt(std::int64_t offset, const std::string& claim) const {
        throw Broken{{offset, kAFile, "one that claims " + claim}};
    }

    const char* takeBytes(std::int64_t count, const std::string& what) {
        if (count > bytesLeft())
            throw Broken{{static_cast<std::int64_t>(m_bytes.size()), kAFile, "one that ends within " + what}};
        const char* const bytes = m_bytes.data() + m_position;
        m_position += count;
        return bytes;
    }

    template <typename Value>
    Value take(const std::string& what) {
        Value value;
        std::memcpy(&value, takeBytes(sizeof value, what), sizeof value);
        return value;
    }

    void readLayer(std::uint32_t index) {
        WeightLayer& layer = m_file.layers.emplace_back();
        layer.offset = m_position;
        const std::string which = "layer " + std::to_string(index);
        const auto length = take<std::uint8_t>("the name length of " + which);
        if (length == 0) breakAt(layer.offset, "an empty name for " + which);
        const std::string name(takeBytes(length, "the name of " + which), length);
        layer.name = name.substr(0, name.find('\0'));
        layer.nameHoldsZero = layer.name.size() < name.size();
        const std::string called = "layer \"" + layer.name + "\"";
        const std::int64_t countOffset = m_position;
        const auto count = take<std::int32_t>("the tensor count of " + called);
        if (count < 0 || count > bytesLeft() / kSmallestTensor)
            breakAt(countOffset, std::to_string(count) + " tensors in " + called + ", with " +
                                     std::to_string(bytesLeft()) + " bytes left");
        for (std::int32_t t = 0; t < count; ++t)
            readTensor(layer.tensors.emplace_back(), called + ", tensor " + std::to_string(t));
    }

    void readTensor(WeightTensor& tensor, const std::string& which) {
        tensor.offset = m_position;
        const auto rank = take<std::int32_t>("the rank of " + which);
        if (rank < 1 || rank > kHighestRank)
            breakAt(tensor.offset, "rank " + std::to_string(rank) + " in " + which + ", not 1 to 10");
        std::int64_t count = 1;
        for (std::int32_t d = 0; d < rank; ++d) {
            const std::int64_t offset = m_position;
            const auto dimension = take<std::int32_t>("the dimensions of " + which);
            if (dimension < 1)
                breakAt(offset, "dimension " + std::to_string(dimension) + " in " + which + ", not 1 or more");
            tensor.shape.push_back(dimension);
            count *= dimension;
            if (count > std::numeric_limits<std::int32_t>::max() ||
                count * static_cast<std::int64_t>(sizeof(float)) > bytesLeft())
                breakAt(offset, shapeText(tensor.shape) + " values in " + which + ", with " +
                                    std::to_string(bytesLeft()) + " bytes left");
        }
        tensor.valuesOffset = m_position;
        tensor.values.resize(static_cast<std::size_t>(count));
        const std::int64_t bytes = count * static_cast<std::int64_t>(sizeof(float));
        std::memcpy(tensor.values.data(), takeBytes(bytes, "the values of " + which), static_cast<std::size_t>(bytes));
    }

    std::string m_bytes;
    std::int64_t m_position = 0;
    WeightFile& m_file;
};

std::string readAll(const std::string& path) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) throw Broken{{0, kAFile, "a folder"}};
    std::ifstream in(path, std::ios::binary);
    if (!in) throw Broken{{0, kAFile, "one that cannot be opened"}};
    std::string bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    if (in.bad()) throw Broken{{0, kAFile, "one that cannot be read"}};
    return bytes;
}

}  // namespace

WeightFile readWeightFile(const std::string& path) {
    WeightFile file;
    try {
        std::string bytes = readAll(path);
        file.size = static_cast<std::int64_t>(bytes.size());
        WeightReader(std::move(bytes), file).read();
    } catch (const Broken& broken) {
        file.faults.push_back(broken.fault);
    }
    return file;
}

std::string shapeText(const std::vector<int>& shape) {
    std::string all = "[";
    for (const int dimension : shape) {
        if (all.size() > 1) all += ',';
        all += std::to_string(dimension);
    }
    all += ']';
    return all;
}

}  // namespace katessel
