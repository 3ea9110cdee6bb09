// How long work tells whoever started it how far it has come.
#pragma once

#include <functional>

namespace katessel {

// Called now and then with the seconds of sound that are done; empty: nobody asks.
using OnProgress = std::function<void(double seconds)>;

}  // namespace katessel
