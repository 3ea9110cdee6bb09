// Reading a layer weight file into records.
//
// Every count in the file is checked against the bytes that are left before anything is allocated for it, so a
// damaged file costs little more memory than its own size.
#include <cstdint>
#include <utility>
#include <vector>

#include "katessel/LayerWeights.h"
#include "modelio/BinaryReader.h"

namespace KaTessel {
namespace {

constexpr std::uint32_t kMaxLayers = 10000;
constexpr int kMaxRank = 10;
constexpr std::int64_t kMostBytes = 64'000'000;  // far more than any model
constexpr std::int64_t kSmallestTensor = 12;     // [bytes] a rank, one dimension, one value

std::string bytesLeft(const BinaryReader& in) { return ", with " + std::to_string(in.bytesLeft()) + " bytes left"; }

bool readName(BinaryReader& in, int index, T_FileLayerWeights& layer) {
    const std::string which = "layer " + std::to_string(index);
    layer.offset = in.position();
    std::uint8_t length = 0;
    if (!in.read(&length, 1, "the name length of " + which)) return false;
    if (length == 0) return in.fail("claims an empty name for " + which, layer.offset);
    char name[256] = {};
    if (!in.read(name, length, "the name of " + which)) return false;
    layer.name = name;
    layer.nameLength = length;
    return true;
}

std::string shapeText(const T_FileTensor& tensor, int dimensions) {
    std::string text = "[";
    for (int d = 0; d < dimensions; ++d) text.append(d > 0 ? "," : "").append(std::to_string(tensor.dimensions[d]));
    return text.append("]");
}

bool readTensor(BinaryReader& in, const std::string& which, T_FileTensor& tensor) {
    tensor.offset = in.position();
    if (!in.readInt(tensor.rank, "the rank of " + which)) return false;
    if (tensor.rank < 1 || tensor.rank > kMaxRank)
        return in.fail("claims rank " + std::to_string(tensor.rank) + " in " + which + ", not 1 to 10", tensor.offset);
    std::int64_t count = 1;
    for (int d = 0; d < tensor.rank; ++d) {
        const std::int64_t offset = in.position();
        if (!in.readInt(tensor.dimensions[d], "the dimensions of " + which)) return false;
        if (tensor.dimensions[d] < 1)
            return in.fail(
                "claims dimension " + std::to_string(tensor.dimensions[d]) + " in " + which + ", not 1 or more",
                offset);
        count *= tensor.dimensions[d];
        if (count > INT32_MAX || count * static_cast<std::int64_t>(sizeof(float)) > in.bytesLeft())
            return in.fail("claims " + shapeText(tensor, d + 1) + " values in " + which + bytesLeft(in), offset);
    }
    tensor.values = new float[static_cast<std::size_t>(count)];
    tensor.count = static_cast<int>(count);
    return in.readWords(tensor.values, count, "the values of " + which);
}

bool readLayer(BinaryReader& in, int index, T_FileLayerWeights& layer) {
    if (!readName(in, index, layer)) return false;
    const std::string called = "layer \"" + layer.name + "\"";
    const std::int64_t offset = in.position();
    std::int32_t count = 0;
    if (!in.readInt(count, "the tensor count of " + called)) return false;
    if (count < 0 || count > in.bytesLeft() / kSmallestTensor)
        return in.fail("claims " + std::to_string(count) + " tensors in " + called + bytesLeft(in), offset);
    if (count == 0) return true;
    layer.tensors = new T_FileTensor[static_cast<std::size_t>(count)];
    layer.tensorCount = count;
    for (int t = 0; t < count; ++t)
        if (!readTensor(in, called + ", tensor " + std::to_string(t), layer.tensors[t])) return false;
    return true;
}

}  // namespace

struct LayerFile::Content {
    Content() = default;
    ~Content() { release(); }
    Content(const Content&) = delete;
    Content& operator=(const Content&) = delete;

    void release();
    bool read(BinaryReader& in, std::string* why);

    std::vector<T_FileLayerWeights> layers;
    std::int64_t size = 0;
    std::int64_t end = 0;
};

void LayerFile::Content::release() {
    for (T_FileLayerWeights& layer : layers) {
        for (int t = 0; t < layer.tensorCount; ++t) delete[] layer.tensors[t].values;
        delete[] layer.tensors;
    }
    layers.clear();
}

bool LayerFile::Content::read(BinaryReader& in, std::string* why) {
    std::uint32_t count = 0;
    if (in.size() > kMostBytes) in.fail("holds more than 64 MB");
    if (in.readWords(&count, 1, "the layer count") && count > kMaxLayers)
        in.fail("claims " + std::to_string(count) + " layers, more than " + std::to_string(kMaxLayers), 0);
    for (std::uint32_t i = 0; i < count && in.good(); ++i) {
        layers.emplace_back();
        readLayer(in, static_cast<int>(i), layers.back());
    }
    size = in.size();
    end = in.position();
    if (in.good()) return true;
    release();
    if (why != nullptr) *why = in.why();
    return false;
}

LayerFile::LayerFile() = default;
LayerFile::~LayerFile() = default;
LayerFile::LayerFile(LayerFile&&) noexcept = default;
LayerFile& LayerFile::operator=(LayerFile&&) noexcept = default;

bool LayerFile::read(const std::string& path, std::string* why) {
    m_content = std::make_unique<Content>();
    BinaryReader in(path);
    return m_content->read(in, why);
}

bool LayerFile::read(const void* bytes, std::size_t count, std::string* why) {
    m_content = std::make_unique<Content>();
    BinaryReader in(bytes, count);
    return m_content->read(in, why);
}

int LayerFile::layerCount() const { return m_content ? static_cast<int>(m_content->layers.size()) : 0; }
T_FileLayerWeights* LayerFile::layers() { return m_content ? m_content->layers.data() : nullptr; }
const T_FileLayerWeights* LayerFile::layers() const { return m_content ? m_content->layers.data() : nullptr; }
std::int64_t LayerFile::size() const { return m_content ? m_content->size : 0; }
std::int64_t LayerFile::end() const { return m_content ? m_content->end : 0; }

}  // namespace KaTessel
