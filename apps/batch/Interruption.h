// What happens when somebody presses Ctrl-C, or a batch system asks the process to end.
#pragma once

#include <functional>

namespace katessel {

// From now on SIGINT, SIGTERM and SIGHUP run `cleanUp`, on a thread of its own beside all others, and end the process
// with status 128 + the signal's number. Those that whoever started the process chose to ignore stay ignored. Call it
// before there are other threads.
void endOnSignals(std::function<void()> cleanUp);

}  // namespace katessel
