// The layer weight file: reading it, and handing one named layer to a network.
//
// The file is a list of named layers, each a list of float tensors: weights, bias and, optionally, a
// weight-normalisation gain of shape [1, .., 1, K]. docs/weight-file.md describes it byte by byte.
//
// Weights stored as [.., in, out] are delivered as [.., out, in]: one row of contiguous inputs per output,
// and one such block per tap for a convolution kernel [taps, in, out].
#ifndef KATESSEL_LAYERWEIGHTS_H
#define KATESSEL_LAYERWEIGHTS_H

#include <string>
#include <vector>

#include "katessel/Export.h"

namespace KaTessel {

// One tensor as stored: row-major, the last dimension varies fastest.
struct T_FileTensor {
    int rank = 0;             // number of dimensions, 1 .. 10
    int dimensions[10] = {};  // each at least 1; the first `rank` count
    int count = 0;            // product of the dimensions
    float* values = nullptr;  // `count` values, owned
};

// One layer as stored.
struct T_FileLayerWeights {
    std::string name;
    int tensorCount = 0;
    T_FileTensor* tensors = nullptr;  // `tensorCount` tensors, owned; null when there are none
    bool loaded = false;              // set once the layer was copied to a caller
};

// All layers of one weight file, in file order. Owns the records.
class KATESSEL_API LayerFile {
public:
    LayerFile() = default;
    ~LayerFile();
    LayerFile(LayerFile&&) noexcept;
    LayerFile& operator=(LayerFile&&) noexcept;
    LayerFile(const LayerFile&) = delete;
    LayerFile& operator=(const LayerFile&) = delete;

    // Reads the whole file, replacing what was held. Returns false and holds nothing when it cannot be opened,
    // breaks the format or ends early; `why`, when given, then says what was found where.
    // Bytes after the last layer are ignored.
    bool read(const std::string& path, std::string* why = nullptr);

    int layerCount() const { return static_cast<int>(m_layers.size()); }
    T_FileLayerWeights* layers() { return m_layers.data(); }
    const T_FileLayerWeights* layers() const { return m_layers.data(); }

private:
    void release();

    std::vector<T_FileLayerWeights> m_layers;
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
