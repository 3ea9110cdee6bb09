// Finding the default model.
#pragma once

#include <string>

namespace katessel {

// `given`, or without one the default model: the one installed beside the executable, else the source tree's.
std::string modelPath(const std::string& given);

}  // namespace katessel
