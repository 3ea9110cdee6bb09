// From trained tensors to the engine's weight file.
#ifndef KATESSEL_TRAINING_WEIGHTEXPORT_H
#define KATESSEL_TRAINING_WEIGHTEXPORT_H

#include <string>

#include "Network.h"

// Writes the layers that the engine loads, the normalisation of the features folded into the first one. The file appears
// whole or not at all.
void exportWeights(const Network& network, const std::string& path);

#endif
