#include "tracking/Model.h"

#include "katessel/DefaultModel.hpp"
#include "katessel/ModelCard.hpp"
#include "katessel/ModelCheck.hpp"
#include "recordings/base/Errors.h"
#include "recordings/base/Text.h"
#include "recordings/base/TextFile.h"

namespace katessel {

namespace {

// Does what throws ModelError, and fails as the tool does.
template <class Work>
auto orFail(Work work) {
    try {
        return work();
    } catch (const KaTessel::ModelError& error) {
        throw ToolError(error.what(), kStatusFailure);
    }
}

}  // namespace

std::optional<std::string> cardHash(const std::string& model) {
    const std::string key = "sha256";
    const std::optional<std::string> value = orFail([&] { return KaTessel::cardValue(model, key); });
    if (!value) return std::nullopt;
    if (value->front() != '"') fail("bad model card", KaTessel::modelCard(model), key + " to be a text", *value);
    return value->substr(1, value->size() - 2);
}

std::string modelPath(const std::string& given, TrackMode mode) {
    const std::string path = given.empty() ? orFail([mode] { return KaTessel::defaultModel(mode); }) : given;
    // Both are read more than once; what is no file may never end.
    for (const std::string& file : {path, KaTessel::modelCard(path)}) {
        const std::string odd = oddKind(file);
        if (!odd.empty()) fail("bad model", file, "a file", odd);
    }
    return path;
}

void addModel(ReadFiles& read, const std::string& path) {
    read.add(path);
    read.add(KaTessel::modelCard(path));
}

Model chooseModel(const std::string& path, TrackMode mode, const std::optional<double>& threshold) {
    Model model;
    model.path = modelPath(path, mode);
    orFail([&] { KaTessel::checkModel(model.path); });
    // A float's decimal digits, so that 0.7 is written as 0.7.
    model.threshold =
        threshold ? *threshold : std::stod(shortNumber(orFail([&] { return KaTessel::modelThreshold(model.path); })));
    return model;
}

}  // namespace katessel
