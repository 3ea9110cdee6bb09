// Carrying out jobs: each recording from reading to writing its track, one or many, several at a time.
#pragma once

#include <cstddef>
#include <vector>

#include "apps/batch/TrackPlan.h"
#include "apps/batch/TrackSettings.h"

namespace katessel {

// Writes the track of one recording.
void runJob(const TrackJob& job, const TrackSettings& settings, bool showProgress);

// Carries out the jobs on up to `threads` threads with an engine each. What goes wrong with a recording is printed, in the
// order of the jobs, and the others go on. Returns how many have no track.
std::size_t runJobs(const std::vector<TrackJob>& jobs, const TrackSettings& settings, int threads, bool showProgress);

}  // namespace katessel
