#include "ModelCard.h"

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <system_error>

#include "Errors.h"

namespace {

constexpr double kThresholdWithoutCard = 0.5;
constexpr char kKey[] = "default_threshold";
constexpr char kBadCard[] = "bad model card";

nlohmann::json readCard(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) fail(kBadCard, path, "a readable file", "one that cannot be opened");
    try {
        return nlohmann::json::parse(in);
    } catch (const nlohmann::json::exception& error) {
        fail(kBadCard, path, "JSON", error.what());
    }
}

}  // namespace

double defaultThreshold(const std::string& model) {
    const std::filesystem::path card = std::filesystem::path(model).replace_extension(".json");
    std::error_code error;
    if (!std::filesystem::exists(card, error)) return kThresholdWithoutCard;
    const nlohmann::json content = readCard(card.string());
    if (!content.is_object()) fail(kBadCard, card.string(), "a JSON object", content.type_name());
    const auto entry = content.find(kKey);
    if (entry == content.end()) return kThresholdWithoutCard;
    // JSON has no infinities, so a number here is finite.
    if (!entry->is_number() || entry->get<double>() < 0.0)
        fail(kBadCard, card.string(), std::string(kKey) + " to be a number from 0 up", entry->dump());
    return entry->get<double>();
}
