// Which model an analysis uses: its weight file, and the card beside it, a JSON file with the same stem that says how to
// use it.
#pragma once

#include <optional>
#include <string>

#include "katessel/DefaultModel.hpp"
#include "katessel/Voicing.hpp"
#include "recordings/base/ReadFiles.h"

namespace katessel {

using TrackMode = KaTessel::Form;  // live: as a host streams it

struct Model {
    std::string path;        // of the weight file
    double threshold = 0.0;  // of the confidence, for the voicing
};

// A model that an engine may open. An empty path is the mode's default model's, no threshold the model's own. Fails unless the
// weight file is good.
Model chooseModel(const std::string& path, TrackMode mode, const std::optional<double>& threshold);

// The weight file and its card are among what is read.
void addModel(ReadFiles& read, const std::string& path);

// `given`, or without one the mode's default model, found as DefaultModel.hpp says: KATESSEL_MODEL first.
// Fails where it is there but no file, but a pipe or a device.
std::string modelPath(const std::string& given, TrackMode mode);

// The SHA-256 that the card gives for the weight file; none when there is no card or it gives none. Fails when the card
// is no JSON object or the value is no text.
std::optional<std::string> cardHash(const std::string& model);

}  // namespace katessel
