// `katessel model`: what a weight file holds, whether it is good, and which it is.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tracking/FileHash.h"
#include "apps/commands/Commands.h"
#include "katessel/LayerWeights.h"
#include "katessel/ModelCard.hpp"
#include "katessel/ModelCheck.hpp"
#include "recordings/base/Errors.h"
#include "tracking/Model.h"

namespace katessel {

namespace {

using KaTessel::LayerFile;
using KaTessel::ModelFault;
using KaTessel::T_FileLayerWeights;
using KaTessel::T_FileTensor;

constexpr char kAboutInspect[] =
    "A tensor's role follows from its place: weights, bias, gain. `at byte` is where it\n"
    "begins; `needed` says whether the engine asks for the layer.";

constexpr char kAboutVerify[] =
    "Stricter than the engine: it also minds names that come twice, values that are not\n"
    "finite in any layer, and bytes after the last layer. Every fault is a line with its\n"
    "byte and layer on standard output; no engine opens the file.";

constexpr char kAboutHash[] =
    "The line is that of sha256sum, and `sha256sum -c` reads it. A model's card is the\n"
    "JSON file beside it with the same stem; another hash there is an error.";

constexpr char kBadModel[] = "bad model";

struct Range {
    double least = 0.0, most = 0.0, rms = 0.0;
};

// A value that is not a number is left out of the range, and shows in the mean square.
Range rangeOf(std::span<const float> values) {
    double least = values.front(), most = values.front(), squares = 0.0;
    for (const double value : values) {
        least = std::fmin(least, value);
        most = std::fmax(most, value);
        squares += value * value;
    }
    return {least, most, std::sqrt(squares / static_cast<double>(values.size()))};
}

// Names come from the file and go to a terminal.
std::string printable(std::string text) {
    for (char& c : text)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = '?';
    return text;
}

void printTensor(const T_FileLayerWeights& layer, int index, int nameWidth) {
    const T_FileTensor& tensor = layer.tensors[index];
    const Range range = rangeOf({tensor.values, static_cast<std::size_t>(tensor.count)});
    std::printf("%-*s  %-7s %-12s %8d %10.4g %10.4g %10.4g %10lld  %s\n", nameWidth,
                index == 0 ? printable(layer.name).c_str() : "", KaTessel::tensorRole(layer, index),
                KaTessel::shapeText(KaTessel::shapeOf(tensor)).c_str(), tensor.count, range.least, range.most,
                range.rms, static_cast<long long>(tensor.offset),
                index != 0                            ? ""
                : KaTessel::isNeededLayer(layer.name) ? "yes"
                                                      : "no");
}

std::string plural(std::size_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::span<const T_FileLayerWeights> layersOf(const LayerFile& file) {
    return {file.layers(), static_cast<std::size_t>(file.layerCount())};
}

// Layers and tensors with shapes, ranges and places. Fails when the file breaks the format.
void inspectModel(const std::string& given) {
    const std::string path = modelPath(given, TrackMode::offline);
    LayerFile file;
    const std::vector<ModelFault> faults = KaTessel::modelFaults(path, file);
    if (file.layerCount() == 0 && !faults.empty()) fail(kBadModel, path, faults.front().expected, faults.front().found);
    std::int64_t values = 0;
    std::size_t nameWidth = 5;
    for (const T_FileLayerWeights& layer : layersOf(file)) {
        nameWidth = std::max(nameWidth, layer.name.size());
        for (int t = 0; t < layer.tensorCount; ++t) values += layer.tensors[t].count;
    }
    std::printf("%s: %lld bytes, %s, %lld values\n\n", path.c_str(), static_cast<long long>(file.size()),
                plural(layersOf(file).size(), "layer", "layers").c_str(), static_cast<long long>(values));
    const int width = static_cast<int>(nameWidth);
    std::printf("%-*s  %-7s %-12s %8s %10s %10s %10s %10s  %s\n", width, "layer", "tensor", "shape", "values", "min",
                "max", "rms", "at byte", "needed");
    for (const T_FileLayerWeights& layer : layersOf(file)) {
        if (layer.tensorCount == 0) std::printf("%-*s  no tensors\n", width, printable(layer.name).c_str());
        for (int t = 0; t < layer.tensorCount; ++t) printTensor(layer, t, width);
    }
    if (faults.empty())
        std::printf("\nThe engine can use it.\n");
    else
        std::printf("\nexpected %s, found %s%s\n", printable(faults.front().expected).c_str(),
                    printable(faults.front().found).c_str(),
                    faults.size() > 1 ? "; `katessel model verify` lists more" : "");
}

// Every fault on a line of its own, and fails when there is one.
void verifyModel(const std::string& given) {
    const std::string path = modelPath(given, TrackMode::offline);
    LayerFile file;
    const std::vector<ModelFault> faults = KaTessel::modelFaults(path, file);
    for (const ModelFault& fault : faults) std::printf("%s: %s\n", path.c_str(), printable(fault.text()).c_str());
    if (!faults.empty()) fail(kBadModel, path, "a file without faults", plural(faults.size(), "fault", "faults"));
    std::printf("%s: good, %s, %lld bytes\n", path.c_str(), plural(layersOf(file).size(), "layer", "layers").c_str(),
                static_cast<long long>(file.size()));
}

// The SHA-256 as sha256sum prints it, then a comment that the card agrees. Fails when it does not.
void hashModel(const std::string& given) {
    const std::string path = modelPath(given, TrackMode::offline);
    const std::string hash = fileSha256(path);
    std::printf("%s  %s\n", hash.c_str(), path.c_str());
    const std::string card = KaTessel::modelCard(path);
    const std::optional<std::string> expected = cardHash(path);
    if (expected && *expected != hash) fail("another model than its card says", path, "sha256 " + *expected, hash);
    // A comment, so that `sha256sum -c` reads the output.
    if (expected)
        std::printf("# as %s says\n", card.c_str());
    else
        std::printf("# %s\n", std::filesystem::exists(card) ? "its card gives no sha256" : "no card beside it");
}

void addSubcommand(CLI::App& model, const char* name, const char* description, const char* footer,
                   void (*work)(const std::string&)) {
    const auto path = std::make_shared<std::string>();
    CLI::App* command = model.add_subcommand(name, description);
    command->footer(footer);
    command->add_option("FILE", *path, "Weight file (default: the one that comes with the tool, for whole recordings)");
    whenChosen(*command, [path, work] { work(*path); });
}

}  // namespace

void addModelCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand("model", "Look at a weight file");
    command->require_subcommand(1);
    addSubcommand(*command, "inspect", "List layers, shapes and ranges", kAboutInspect, &inspectModel);
    addSubcommand(*command, "verify", "Say everything that is wrong with it, and where", kAboutVerify, &verifyModel);
    addSubcommand(*command, "hash", "Print its SHA-256 and compare it with the model's card", kAboutHash, &hashModel);
}

}  // namespace katessel
