// Checking a weight file before an engine sees it.
#ifndef KATESSEL_APPS_MODELCHECK_H
#define KATESSEL_APPS_MODELCHECK_H

#include <string>

// Fails, naming the layer, unless the file holds every layer that the engine needs, in the right shape and
// with finite values. The engine itself would compute with zeros for a missing layer and end the process at
// one of the wrong size. Layers that the engine does not ask for are not looked at.
void checkModel(const std::string& path);

#endif
