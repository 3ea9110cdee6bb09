#include "tracking/Model.h"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <system_error>

#include "katessel/DefaultModel.hpp"
#include "recordings/base/Errors.h"
#include "recordings/base/Text.h"
#include "tracking/ModelCheck.h"

namespace katessel {

namespace fs = std::filesystem;

namespace {

constexpr double kThresholdWithoutCard = 0.5;
constexpr char kThresholdKey[] = "default_threshold";
constexpr char kHashKey[] = "sha256";
constexpr char kBadCard[] = "bad model card";

nlohmann::json parseCard(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) fail(kBadCard, path, "a readable file", "one that cannot be opened");
    try {
        return nlohmann::json::parse(in);
    } catch (const nlohmann::json::exception& error) {
        fail(kBadCard, path, "JSON", error.what());
    }
}

// What the card says under a key; nothing when there is no card or it does not say.
std::optional<nlohmann::json> cardEntry(const std::string& card, const char* key) {
    std::error_code error;
    if (!fs::exists(card, error)) return std::nullopt;
    const nlohmann::json content = parseCard(card);
    if (!content.is_object()) fail(kBadCard, card, "a JSON object", content.type_name());
    const auto entry = content.find(key);
    if (entry == content.end()) return std::nullopt;
    return *entry;
}

}  // namespace

std::string cardPath(const std::string& model) {
    return fs::path(model).replace_extension(".json").string();
}

double defaultThreshold(const std::string& model) {
    const std::string card = cardPath(model);
    const std::optional<nlohmann::json> entry = cardEntry(card, kThresholdKey);
    if (!entry) return kThresholdWithoutCard;
    // JSON has no infinities, so a number here is finite.
    if (!entry->is_number() || entry->get<double>() < 0.0)
        fail(kBadCard, card, std::string(kThresholdKey) + " to be a number from 0 up", entry->dump());
    return entry->get<double>();
}

std::optional<std::string> cardHash(const std::string& model) {
    const std::string card = cardPath(model);
    const std::optional<nlohmann::json> entry = cardEntry(card, kHashKey);
    if (!entry) return std::nullopt;
    if (!entry->is_string()) fail(kBadCard, card, std::string(kHashKey) + " to be a text", entry->dump());
    return entry->get<std::string>();
}

std::string modelPath(const std::string& given) {
    if (!given.empty()) return given;
    try {
        return KaTessel::defaultModel();
    } catch (const KaTessel::ModelError& none) {
        throw ToolError(none.what(), kStatusFailure);
    }
}

void checkThreshold(const std::optional<double>& threshold) {
    if (threshold && !(*threshold >= 0.0 && std::isfinite(*threshold)))
        failUsage("wrong threshold", "--threshold", "a number from 0 up", shortNumber(*threshold));
}

Model chooseModel(const std::string& path, const std::optional<double>& threshold) {
    checkThreshold(threshold);
    Model model;
    model.path = modelPath(path);
    checkModel(model.path);
    model.threshold = threshold ? *threshold : defaultThreshold(model.path);
    return model;
}

}  // namespace katessel
