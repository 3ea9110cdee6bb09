// From trained tensors to the engine's weight file.
#ifndef KATESSEL_TRAINING_WEIGHTEXPORT_H
#define KATESSEL_TRAINING_WEIGHTEXPORT_H

#include <string>

#include "Network.h"

namespace katessel::training {

// Writes the layers that the engine loads, the normalisation of the features folded into the first one. The file appears
// whole or not at all.
void exportWeights(const Network& network, const std::string& path);

// The weights of such a file into a network, whose normalisation stays as it is. The classes are not in the file. Fails
// with one line where the file does not fit.
void importWeights(const std::string& path, Network& network);

}  // namespace katessel::training

#endif
