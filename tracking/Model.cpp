#include "tracking/Model.h"

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <system_error>

#include "katessel/DefaultModel.hpp"
#include "katessel/ModelCard.hpp"
#include "katessel/ModelCheck.hpp"
#include "recordings/base/Errors.h"
#include "recordings/base/Text.h"
#include "recordings/base/TextFile.h"

namespace katessel {

namespace {

constexpr char kHashKey[] = "sha256";
constexpr char kBadCard[] = "bad model card";

// Does what throws ModelError, and fails as the tool does.
template <class Work>
auto orFail(Work work) {
    try {
        return work();
    } catch (const KaTessel::ModelError& error) {
        throw ToolError(error.what(), kStatusFailure);
    }
}

nlohmann::json parseCard(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) fail(kBadCard, path, "a readable file", "one that cannot be opened");
    try {
        return nlohmann::json::parse(in);
    } catch (const nlohmann::json::exception& error) {
        fail(kBadCard, path, "JSON", error.what());
    }
}

}  // namespace

std::optional<std::string> cardHash(const std::string& model) {
    const std::string card = KaTessel::modelCard(model);
    std::error_code error;
    if (!std::filesystem::exists(card, error)) return std::nullopt;
    const nlohmann::json content = parseCard(card);
    if (!content.is_object()) fail(kBadCard, card, "a JSON object", content.type_name());
    const auto entry = content.find(kHashKey);
    if (entry == content.end()) return std::nullopt;
    if (!entry->is_string()) fail(kBadCard, card, std::string(kHashKey) + " to be a text", entry->dump());
    return entry->get<std::string>();
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
