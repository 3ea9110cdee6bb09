// The model's card: a JSON file beside the weight file, with the same stem, that says how to use the model.
#pragma once

#include <optional>
#include <string>

namespace katessel {

// The confidence below which frames of this model count as unvoiced: the card's `default_threshold`, or 0.5
// when there is no card or it does not say. Fails when the card is not JSON or the value is no threshold.
double defaultThreshold(const std::string& model);

// Where the model's card would lie.
std::string cardPath(const std::string& model);

// The SHA-256 that the card gives for the weight file; none when there is no card or it gives none. Fails when the card
// is not JSON or the value is no text.
std::optional<std::string> cardHash(const std::string& model);

}  // namespace katessel
