// Arbitrary bytes as a weight file: read, and every layer copied in every way, into buffers of the wrong size too.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "katessel/FloatBuffer.h"
#include "katessel/LayerWeights.h"

namespace {

std::string temporaryFile() {
    static const std::string path = "/tmp/katessel-fuzz-" + std::to_string(getpid());
    return path;
}

void write(const std::uint8_t* data, std::size_t size) {
    std::FILE* file = std::fopen(temporaryFile().c_str(), "wb");
    if (file == nullptr) return;
    std::fwrite(data, 1, size, file);
    std::fclose(file);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    write(data, size);
    KaTessel::LayerFile file;
    if (!file.read(temporaryFile())) return 0;
    for (int i = 0; i < file.layerCount(); ++i) {
        const std::string name = file.layers()[i].name;
        // The size is right wherever it is checked: a wrong one ends the process by design.
        const int first = KaTessel::findFileLayer(name, file.layerCount(), file.layers());
        const KaTessel::T_FileLayerWeights& layer = file.layers()[first];
        if (layer.tensorCount == 0) continue;
        const int count = layer.tensors[0].count;
        for (int biasSize : {0, 1, 64}) {
            float *weights = nullptr, *bias = nullptr;
            KaTessel::init_and_load_wb(temporaryFile(), name, weights, bias, count, 1);
            KaTessel::free_buf(weights);
            KaTessel::free_buf(bias);
            KaTessel::init_and_load_b(temporaryFile(), name, bias, biasSize);
            KaTessel::free_buf(bias);
        }
    }
    return 0;
}
