#include "Track.h"

#include <cmath>
#include <utility>

#include "AudioFile.h"
#include "CsvWriter.h"
#include "Errors.h"
#include "ModelCard.h"
#include "ModelCheck.h"
#include "ModelPath.h"
#include "OfflineTrack.h"
#include "OutputFile.h"
#include "StreamTrack.h"

namespace {

PitchTrack produce(const TrackOptions& options, Recording recording, const std::string& model) {
    if (options.blockSize) return streamTrackInBlocks(recording, model, *options.blockSize);
    if (options.mode == TrackMode::live) return streamTrack(recording, options.recording, model);
    return offlineTrack(std::move(recording), options.recording, model);
}

}  // namespace

void runTrack(const TrackOptions& options) {
    // Everything that can be wrong, before the long part.
    if (options.threshold && !(*options.threshold >= 0.0 && std::isfinite(*options.threshold)))
        failUsage("wrong threshold", "--threshold", "a number from 0 up", shortNumber(*options.threshold));
    if (options.blockSize && options.mode == TrackMode::offline)
        failUsage("wrong usage", "--block-size", "--mode live", "--mode offline, which has no blocks");
    const OutputFile output(options.output);
    if (output.isSameAs(options.recording))
        failUsage("cannot write", options.output, "a file of its own", "the recording itself");
    const std::string model = modelPath(options.model);
    checkModel(model);
    const double threshold = options.threshold ? *options.threshold : defaultThreshold(model);
    PitchTrack track = produce(options, readRecording(options.recording), model);
    applyThreshold(track, threshold);
    output.write(csvText(track, options.cents ? PitchUnit::cents : PitchUnit::hertz));
}
