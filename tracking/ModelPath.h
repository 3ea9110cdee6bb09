// Finding the default model.
#ifndef KATESSEL_APPS_MODELPATH_H
#define KATESSEL_APPS_MODELPATH_H

#include <string>

// `given`, or without one the default model: the one installed beside the executable, else the source tree's.
std::string modelPath(const std::string& given);

#endif
