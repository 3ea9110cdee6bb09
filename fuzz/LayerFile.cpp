// Arbitrary bytes as a weight file: read, and every layer copied in every way, into buffers of the wrong size too.
#include <string>

#include "ScratchFile.h"
#include "katessel/FloatBuffer.h"
#include "katessel/LayerWeights.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    writeScratchFile(data, size);
    KaTessel::LayerFile file;
    if (!file.read(scratchFile())) return 0;
    for (int i = 0; i < file.layerCount(); ++i) {
        const std::string name = file.layers()[i].name;
        // The size is right wherever it is checked: a wrong one ends the process by design.
        const int first = KaTessel::findFileLayer(name, file.layerCount(), file.layers());
        const KaTessel::T_FileLayerWeights& layer = file.layers()[first];
        if (layer.tensorCount == 0) continue;
        for (int biasSize : {0, 1, 64}) {
            float *weights = nullptr, *bias = nullptr;
            KaTessel::init_and_load_wb(scratchFile(), name, weights, bias, layer.tensors[0].count, 1);
            KaTessel::free_buf(weights);
            KaTessel::free_buf(bias);
            KaTessel::init_and_load_b(scratchFile(), name, bias, biasSize);
            KaTessel::free_buf(bias);
        }
    }
    return 0;
}
