#include "Track.h"

#include <cmath>

#include "AudioFile.h"
#include "CsvWriter.h"
#include "Errors.h"
#include "ModelCard.h"
#include "ModelCheck.h"
#include "ModelPath.h"
#include "OutputFile.h"
#include "StreamTrack.h"

void runTrack(const TrackOptions& options) {
    // Everything that can be wrong, before the long part.
    if (options.threshold && !(*options.threshold >= 0.0 && std::isfinite(*options.threshold)))
        failUsage("wrong threshold", "--threshold", "a number from 0 up", shortNumber(*options.threshold));
    const OutputFile output(options.output);
    if (output.isSameAs(options.recording))
        failUsage("cannot write", options.output, "a file of its own", "the recording itself");
    const std::string model = modelPath(options.model);
    checkModel(model);
    const double threshold = options.threshold ? *options.threshold : defaultThreshold(model);
    const Recording recording = readRecording(options.recording);

    PitchTrack track = options.blockSize ? streamTrackInBlocks(recording, model, *options.blockSize)
                                         : streamTrack(recording, options.recording, model);
    applyThreshold(track, threshold);
    output.write(csvText(track, options.cents ? PitchUnit::cents : PitchUnit::hertz));
}
