// Scoring the recordings of a folder, each against the .f0 file beside it.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "recordings/base/ReadFiles.h"
#include "recordings/scoring/ScoreReport.h"
#include "recordings/tracks/PitchTrack.h"

namespace katessel {

// The track of one recording, its voicing undecided: unvoiced rows still have their frequency. `frames` is the
// length of its truth.
using TrackOf = std::function<PitchTrack(const std::string& recording, std::size_t frames)>;

// Told of what cannot be scored, as a whole message; the rest goes on.
using OnProblem = std::function<void(const std::string& message)>;

// Scores every recording in and below a folder that has an .f0 file beside it, by folder and, last, all together. Fails
// where there is none.
std::vector<ScoredGroup> scoreFolder(const std::string& folder, VoicingRule rule, const TrackOf& trackOf,
                                     const OnProblem& onProblem);

// Tracks that somebody made: below `tracks`, with the recording's path below `folder` and the extension .csv, or .f0 and that of
// any track that can be read, as `katessel track` names it.
TrackOf tracksBelow(const std::string& tracks, const std::string& folder);

// What may be read for such figures: the recordings of a folder, what stands beside them, and, unless `tracks` is empty,
// their tracks.
void addScored(ReadFiles& read, const std::string& folder, const std::string& tracks);

}  // namespace katessel
