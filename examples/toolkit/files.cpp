// Reading weight files, parameters and frame matrices.
#include <katessel/KaTessel.h>

#include <cstdio>

#include "WriteWeights.h"

namespace {

void inspect(const std::string& model) {
    KaTessel::LayerFile file;
    std::string why;
    if (!file.read(model, &why)) {
        std::printf("%s: %s\n", model.c_str(), why.c_str());
        return;
    }
    for (int i = 0; i < file.layerCount(); ++i)
        std::printf("%s: %d tensors\n", file.layers()[i].name.c_str(), file.layers()[i].tensorCount);
    expect(file.layerCount() == 13, "the encoder and two heads");
}

void parameters() {
    // [encoder]
    // nlayers 10
    // dilations 1,2,4,8
    std::vector<KaTessel::TINISECTION> sections;
    int layers = 0;
    std::vector<int> dilations;
    KaTessel::loadIni("example.ini", sections);
    KaTessel::ini_read_param(sections, "encoder", "nlayers", layers);
    KaTessel::ini_read_param(sections, "encoder", "dilations", dilations);
    expect(layers == 10 && dilations.size() == 4 && dilations[3] == 8, "the parameters");
}

void matrices() {
    const std::vector<std::vector<float>> frames = {{1.0f, 2.0f}, {3.0f, 4.0f}, {5.0f, 6.0f}};
    KaTessel::write_data("example.bin", frames, 0, 0);

    std::vector<std::vector<float>> again;
    float period = 0.0f;  // [s]
    int size = 0;
    if (!KaTessel::loadContext("example.bin", again, period, size)) return;
    std::printf("%zu frames of %d values every %.3f s\n", again.size(), size, static_cast<double>(period));
    expect(again == frames, "the frames again");
}

}  // namespace

int main(int argc, char** argv) {
    expect(argc == 2, "usage: example-files MODEL");
    std::ofstream("example.ini") << "[encoder]\nnlayers 10\ndilations 1,2,4,8\n";
    inspect(argv[1]);
    parameters();
    matrices();
    return 0;
}
