// The two forms of the engine that a recording can be tracked with.
#ifndef KATESSEL_APPS_TRACKMODE_H
#define KATESSEL_APPS_TRACKMODE_H

// offline: the whole recording at once, every instant seen from both sides; live: as a host streams it.
enum class TrackMode { offline, live };

#endif
