// Which file each recording's track goes to, decided before any work.
#pragma once

#include <string>
#include <vector>

#include "apps/batch/InputSelection.h"
#include "recordings/base/ReadFiles.h"

namespace katessel {

struct TrackJob {
    std::string input;
    std::string output;   // "-": standard output
    std::string problem;  // why there will be no track, as a whole message; empty: none known
    bool isDone = false;  // there is a file already, which is left alone
};

// What to do about tracks that are there already.
enum class ExistingTracks { refuse, skip, replace };

// One recording, to a file of any name, or to standard output where `output` is empty or "-". Wrong usage when it is one
// that is read.
TrackJob planSingle(const std::string& input, const std::string& output, ReadFiles read);

// Each recording to a file of its own: its name with `ending` (".f0.csv") for the extension, beside it, or below `folder`
// if one is given. Wrong usage when two of them would be the same, or one of those that are read: the recordings and `read`.
std::vector<TrackJob> planMany(const std::vector<Input>& inputs, const std::string& folder, const std::string& ending,
                               ReadFiles read);

// The jobs of one shard, in their order.
std::vector<TrackJob> shardOf(const std::vector<TrackJob>& jobs, const Shard& shard);

// Looks which of the tracks are there already; an empty file, device or pipe is none. Returns a message about those that
// must not be there, empty where there are none.
std::string checkExisting(std::vector<TrackJob>& jobs, ExistingTracks existing);

}  // namespace katessel
