// The two forms of the engine that a recording can be tracked with.
#pragma once

namespace katessel {

// offline: the whole recording at once, every instant seen from both sides; live: as a host streams it.
enum class TrackMode { offline, live };

}  // namespace katessel
