// The model's card: a JSON file beside the weight file, with the same stem, that says how to use the model.
#ifndef KATESSEL_APPS_MODELCARD_H
#define KATESSEL_APPS_MODELCARD_H

#include <string>

// The confidence below which frames of this model count as unvoiced: the card's `default_threshold`, or 0.5
// when there is no card or it does not say. Fails when the card is not JSON or the value is no threshold.
double defaultThreshold(const std::string& model);

#endif
