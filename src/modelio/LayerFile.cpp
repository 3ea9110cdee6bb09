// Reading a layer weight file into records.
//
// Every count in the file is checked against the bytes that are left before anything is allocated for it, so a
// damaged file costs little more memory than its own size.
#include <cstdint>
#include <utility>

#include "katessel/LayerWeights.h"
#include "modelio/BinaryReader.h"

namespace KaTessel {
namespace {

constexpr std::uint32_t kMaxLayers = 10000;
constexpr int kMaxRank = 10;

std::string at(const T_FileLayerWeights& layer, int tensor) {
    return "layer \"" + layer.name + "\", tensor " + std::to_string(tensor) + ": ";
}

bool readName(BinaryReader& in, int index, T_FileLayerWeights& layer) {
    std::uint8_t length = 0;
    if (!in.read(&length, 1, "a layer's name length")) return false;
    if (length == 0) return in.fail("layer " + std::to_string(index) + " has an empty name");
    char name[256] = {};
    if (!in.read(name, length, "a layer's name")) return false;
    layer.name = name;  // up to the first zero byte
    return true;
}

bool readTensor(BinaryReader& in, const T_FileLayerWeights& layer, int index, T_FileTensor& tensor) {
    if (!in.readInt(tensor.rank, "a tensor's rank")) return false;
    if (tensor.rank < 1 || tensor.rank > kMaxRank)
        return in.fail(at(layer, index) + "rank " + std::to_string(tensor.rank) + ", expected 1 to 10");
    std::int64_t count = 1;
    for (int d = 0; d < tensor.rank; ++d) {
        if (!in.readInt(tensor.dimensions[d], "a tensor's dimensions")) return false;
        if (tensor.dimensions[d] < 1)
            return in.fail(at(layer, index) + "dimension " + std::to_string(tensor.dimensions[d]) +
                           ", expected 1 or more");
        count *= tensor.dimensions[d];
        if (count > INT32_MAX || count * static_cast<std::int64_t>(sizeof(float)) > in.bytesLeft())
            return in.fail(at(layer, index) + "more values than the file holds");
    }
    tensor.values = new float[static_cast<std::size_t>(count)];
    tensor.count = static_cast<int>(count);
    return in.read(tensor.values, count * static_cast<std::int64_t>(sizeof(float)), "a tensor's values");
}

bool readLayer(BinaryReader& in, int index, T_FileLayerWeights& layer) {
    if (!readName(in, index, layer)) return false;
    std::int32_t count = 0;
    if (!in.readInt(count, "a layer's tensor count")) return false;
    // The smallest tensor is a rank, one dimension and one value.
    if (count < 0 || count > in.bytesLeft() / 12)
        return in.fail("layer \"" + layer.name + "\" claims " + std::to_string(count) + " tensors");
    if (count == 0) return true;
    layer.tensors = new T_FileTensor[static_cast<std::size_t>(count)];
    layer.tensorCount = count;
    for (int t = 0; t < count; ++t)
        if (!readTensor(in, layer, t, layer.tensors[t])) return false;
    return true;
}

}  // namespace

LayerFile::~LayerFile() { release(); }

LayerFile::LayerFile(LayerFile&& other) noexcept : m_layers(std::exchange(other.m_layers, {})) {}

LayerFile& LayerFile::operator=(LayerFile&& other) noexcept {
    std::swap(m_layers, other.m_layers);
    return *this;
}

void LayerFile::release() {
    for (T_FileLayerWeights& layer : m_layers) {
        for (int t = 0; t < layer.tensorCount; ++t) delete[] layer.tensors[t].values;
        delete[] layer.tensors;
    }
    m_layers.clear();
}

bool LayerFile::read(const std::string& path, std::string* why) {
    release();
    BinaryReader in(path);
    std::uint32_t count = 0;
    if (in.read(&count, sizeof count, "the layer count") && count > kMaxLayers)
        in.fail("claims " + std::to_string(count) + " layers, expected at most " + std::to_string(kMaxLayers));
    for (std::uint32_t i = 0; i < count && in.good(); ++i) {
        m_layers.emplace_back();
        readLayer(in, static_cast<int>(i), m_layers.back());
    }
    if (in.good()) return true;
    release();
    if (why != nullptr) *why = in.why();
    return false;
}

}  // namespace KaTessel
