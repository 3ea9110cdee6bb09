#include "apps/picture/Plot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <utility>

#include "apps/batch/RecordingProgress.h"
#include "apps/picture/PlotPicture.h"
#include "recordings/audio/AudioFile.h"
#include "recordings/base/Errors.h"
#include "recordings/base/OutputFile.h"
#include "recordings/base/Text.h"
#include "recordings/tracks/TrackReader.h"
#include "tracking/Model.h"

namespace katessel {

namespace fs = std::filesystem;

namespace {

constexpr int kLeastWidth = 320, kLeastHeight = 240, kMostPixels = 20000;
constexpr double kLowestFrequency = 50.0;  // [Hz] of a logarithmic axis

struct Size {
    int width = 0, height = 0;
};

PictureFormat formatOf(const std::string& path) {
    const std::string extension = fs::path(path).extension().string();
    if (extension == ".png") return PictureFormat::png;
    if (extension == ".svg") return PictureFormat::svg;
    failUsage("unknown kind of picture", path, "a name that ends with .png or .svg",
              extension.empty() ? "no extension" : extension);
}

Size sizeOf(const std::string& text) {
    Size size;
    char rest = 0;
    if (std::sscanf(text.c_str(), "%dx%d%c", &size.width, &size.height, &rest) != 2 || size.width < kLeastWidth ||
        size.height < kLeastHeight || size.width > kMostPixels || size.height > kMostPixels)
        failUsage("wrong size", "--size", "WIDTHxHEIGHT from 320x240 to 20000x20000", text);
    return size;
}

FrequencyScale scaleOf(const PlotOptions& options) {
    const double bottom = options.bottomFrequency.value_or(options.linear ? 0.0 : kLowestFrequency);
    if (!(options.linear ? bottom >= 0.0 : bottom > 0.0))
        failUsage("wrong frequency", "--bottom-frequency",
                  options.linear ? "0 or more" : "more than 0 on a logarithmic axis", shortNumber(bottom));
    if (!(options.topFrequency > bottom) || !std::isfinite(options.topFrequency))
        failUsage("wrong frequency", "--top-frequency", "more than the bottom's " + shortNumber(bottom) + " Hz",
                  shortNumber(options.topFrequency));
    return FrequencyScale(bottom, options.topFrequency, !options.linear);
}

NamedTrack readOverlay(const std::string& text) {
    const std::size_t mark = text.find('=');
    if (mark == std::string::npos || mark == 0 || mark + 1 == text.size())
        failUsage("wrong overlay", "--overlay", "NAME=FILE", text);
    return {text.substr(0, mark), readTrack(text.substr(mark + 1))};
}

void checkOutput(const PlotOptions& options, const std::optional<Model>& model) {
    ReadFiles read;
    read.add(options.recording);
    read.add(options.track);
    for (const std::string& overlay : options.overlays) read.add(overlay.substr(overlay.find('=') + 1));
    if (model) addModel(read, model->path);
    checkOutputs({options.output}, read);
}

}  // namespace

void runPlot(const PlotOptions& options) {
    // Everything that can be wrong, before the long part.
    const PictureFormat format = formatOf(options.output);
    const Size size = sizeOf(options.size);
    const FrequencyScale scale = scaleOf(options);
    if (!options.track.empty() && !options.model.empty())
        failUsage("wrong usage", "--model", "a recording to track", "--track, which is a track already");
    std::optional<Model> model;
    if (options.track.empty()) model = chooseModel(options.model, options.mode, options.threshold);
    checkOutput(options, model);
    const OutputFile output(options.output);
    PlotContent content;
    for (const std::string& overlay : options.overlays) content.overlays.push_back(readOverlay(overlay));

    RecordingProgress progress(!options.quiet);
    SoundSelection selection;
    const double from = selection.from = options.excerpt.readFrom();
    selection.to = options.excerpt.readTo();
    const Recording recording = readRecording(options.recording, progress, selection);
    content.start = options.excerpt.start;
    content.duration = options.excerpt.end(from + recording.seconds(), options.recording) - content.start;
    content.title = options.title.empty() ? fs::path(options.recording).filename().string() : options.title;
    content.range = options.range;
    content.threshold = model ? model->threshold : options.threshold;
    if (model) {
        content.pitch = {"pitch", trackRecording(*model, options.mode, recording, options.recording, progress)};
        for (PitchRow& row : content.pitch.track) row.time += from;
    } else {
        content.pitch = {"pitch", readTrack(options.track)};
    }
    const Voicing usual = model ? usualVoicing(options.mode) : Voicing::frame;
    if (content.threshold) applyVoicing(content.pitch.track, {*content.threshold, options.voicing.value_or(usual)});
    output.write(drawPlot(content, recording, from, scale, format, size.width, size.height,
                          progress.watch("drawing", content.duration)));
}

}  // namespace katessel
