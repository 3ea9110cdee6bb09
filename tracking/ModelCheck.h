// Checking a weight file before an engine sees it.
#pragma once

#include <string>
#include <vector>

#include "tracking/WeightFile.h"

namespace katessel {

// Fails, naming the layer, unless the file holds every layer that the engine needs, in the right shape and
// with finite values. The engine itself would compute with zeros for a missing layer and end the process at
// one of the wrong size. Layers that the engine does not ask for are not looked at.
void checkModel(const std::string& path);

// Whether the engine asks for a layer of that name.
bool isNeededLayer(const std::string& name);

// What a tensor of a layer is by its position and shape: "weights", "bias", "gain" or, where none of them can stand,
// "unused".
std::string roleOf(const WeightLayer& layer, std::size_t tensor);

// Everything for which checkModel fails, and in addition what a careful writer would not have left in a file: names that
// come twice or hold a zero byte, values that are not finite in any layer, bytes after the last layer. In the order of
// the file; missing layers come last.
std::vector<WeightFault> findFaults(const WeightFile& file);

}  // namespace katessel
