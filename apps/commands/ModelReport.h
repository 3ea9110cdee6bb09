// `katessel model`: what a weight file holds, whether it is good, and which it is.
#pragma once

#include <string>

namespace katessel {

// All print to standard output; an empty path is the default model.

// Layers and tensors with shapes, ranges and places. Fails when the file breaks the format.
void inspectModel(const std::string& path);

// Every fault on a line of its own, and fails when there is one.
void verifyModel(const std::string& path);

// The SHA-256 as sha256sum prints it, then a comment that the card agrees. Fails when it does not.
void hashModel(const std::string& path);

}  // namespace katessel
