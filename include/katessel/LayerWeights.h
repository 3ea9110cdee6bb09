// The layer weight file: reading it, and handing one named layer to a network.
//
// The file is a list of named layers, each a list of float tensors: weights, bias and, optionally, a
// weight-normalisation gain of shape [1, .., 1, K]. docs/weight-file.md describes it byte by byte.
//
// Weights stored as [.., in, out] are delivered as [.., out, in]: one row of contiguous inputs per output,
// and one such block per tap for a convolution kernel [taps, in, out].
#ifndef KATESSEL_LAYERWEIGHTS_H
#define KATESSEL_LAYERWEIGHTS_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "katessel/Export.h"

namespace KaTessel {

// One tensor as stored: row-major, the last dimension varies fastest. A copy would share the values: there is none.
struct T_FileTensor {
    T_FileTensor() = default;
    T_FileTensor(const T_FileTensor&) = delete;
    T_FileTensor& operator=(const T_FileTensor&) = delete;

    int rank = 0;             // number of dimensions, 1 .. 10
    int dimensions[10] = {};  // each at least 1; the first `rank` count
    int count = 0;            // product of the dimensions
    float* values = nullptr;  // `count` values, owned by whoever made the record
    std::int64_t offset = 0;  // [bytes] of its rank from the start of the file

    std::int64_t valuesOffset() const { return offset + 4 * (1 + rank); }  // [bytes] of its first value
};

// One layer as stored. Can be moved, not copied, for the same reason.
struct T_FileLayerWeights {
    T_FileLayerWeights() = default;
    T_FileLayerWeights(T_FileLayerWeights&& other) noexcept { *this = std::move(other); }
    T_FileLayerWeights& operator=(T_FileLayerWeights&& other) noexcept {
        std::swap(name, other.name);
        std::swap(tensorCount, other.tensorCount);
        std::swap(tensors, other.tensors);
        std::swap(loaded, other.loaded);
        std::swap(offset, other.offset);
        std::swap(nameLength, other.nameLength);
        return *this;
    }

    std::string name;  // up to its first zero byte
    int tensorCount = 0;
    T_FileTensor* tensors = nullptr;  // `tensorCount` tensors; null when there are none
    bool loaded = false;              // set once the layer was copied to a caller
    std::int64_t offset = 0;          // [bytes] of its name's length from the start of the file
    int nameLength = 0;               // [bytes] as stored; more than name.size() where the name holds a zero byte
};

// All layers of one weight file, in file order. Owns the records.
class KATESSEL_API LayerFile {
public:
    LayerFile();
    ~LayerFile();
    LayerFile(LayerFile&&) noexcept;
    LayerFile& operator=(LayerFile&&) noexcept;
    LayerFile(const LayerFile&) = delete;
    LayerFile& operator=(const LayerFile&) = delete;

    // Reads the whole file, which is opened once, replacing what was held. Returns false and holds no layer when it
    // cannot be opened, breaks the format or ends early; `why`, when given, then says what is wrong, as the end of a
    // sentence ("ends within the tensor count of layer ..") whose place is end(). Bytes after the last layer are ignored.
    bool read(const std::string& path, std::string* why = nullptr);

    // The same for the content of such a file in memory, `count` bytes at `bytes`. Nothing of them is kept.
    bool read(const void* bytes, std::size_t count, std::string* why = nullptr);

    int layerCount() const;
    T_FileLayerWeights* layers();  // layerCount() of them
    const T_FileLayerWeights* layers() const;

    std::int64_t size() const;  // [bytes] of what was read
    std::int64_t end() const;   // [bytes] where the last layer ends or, after a failure, the place of what is wrong

private:
    struct KATESSEL_LOCAL Content;
    std::unique_ptr<Content> m_content;  // none before the first read
};

// The three loaders below read the file anew on every call and print "WARNING: NAME not loaded!\n" on standard
// output, leaving zeros, when the file is unreadable or has no such layer. They do not release what their
// output pointers held before; what they allocate is released with free_buf.

// A layer that is only a bias: `bias` becomes n zeros, then tensor 0 (which must have rank 1, otherwise `bias`
// becomes null: a layer without bias).
KATESSEL_API void init_and_load_b(std::string path, std::string layerName, float*& bias, int n);

// A layer that is one array of any shape: `values` becomes n zeros, then tensor 0, its last two axes swapped.
KATESSEL_API void init_and_load_var(std::string path, std::string layerName, float*& values, int n);

// Weights and bias: `weights` becomes rows*cols floats (cols outputs of `rows` inputs each, taps included),
// `bias` cols floats or null when the layer has none. Ends the process with status -1 when the weights have
// rank 2 or more and not rows*cols elements: a model of the wrong shape must never run.
KATESSEL_API void init_and_load_wb(std::string path, std::string layerName, float*& weights, float*& bias, int rows,
                                   int cols);

// Reads the file and copies one layer; see copyFileLayerWeights. Returns true when it was found and copied.
KATESSEL_API bool loadSingleModelWeights(std::string path, std::string layerName, float* weights, float*& bias,
                                         int expectedSize, bool biasWasMalloced);

// Copies one layer out of records that were read before.
//   weights       receives tensor 0, or null when only a bias is wanted
//   bias          receives tensor 1 (tensor 0 without weights); released and set to null when that tensor is
//                 missing or has rank 2 or more; may be null from the start
//   expectedSize  elements that a tensor of rank 2 or more must have, or -1: any number. Not the room in `weights`: a
//                 tensor of rank 1 is copied whole, whatever its length, and so is a bias
//   mask          must be null
//   allowWeightNormalisation  scale each output's weights to the norm that its gain tensor gives
//   biasWasMalloced           how to release `bias`: free() or array delete
// Returns false, with nothing written, when the layer is missing or its tensors do not fit together. A wrong size ends
// the process with status -1, as in init_and_load_wb.
KATESSEL_API bool copyFileLayerWeights(std::string layerName, int layerCount, T_FileLayerWeights* layers,
                                       float* weights, float*& bias, int expectedSize, bool** mask,
                                       bool allowWeightNormalisation, bool biasWasMalloced);

// Index of the first layer of exactly that name, or -1.
KATESSEL_API int findFileLayer(std::string layerName, int layerCount, T_FileLayerWeights* layers);

}  // namespace KaTessel

#endif
