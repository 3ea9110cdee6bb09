#include "apps/batch/TrackWorker.h"

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include "recordings/audio/AudioFile.h"
#include "recordings/audio/SoundSource.h"
#include "recordings/base/Errors.h"
#include "recordings/base/OutputFile.h"
#include "tracking/OfflineTrack.h"
#include "tracking/StreamTrack.h"

namespace katessel {

namespace fs = std::filesystem;

namespace {

PitchTrack produce(Recording recording, const std::string& path, const TrackSettings& settings, TrackEngine& engine) {
    if (settings.blockSize) return streamTrackInBlocks(recording, path, engine, *settings.blockSize);
    if (settings.mode == TrackMode::live) return streamTrack(recording, path, engine);
    return offlineTrack(std::move(recording), path, engine);
}

// Folders of outputs come as they are needed.
OutputFile openOutput(const std::string& path) {
    const fs::path folder = fs::path(path).parent_path();
    std::error_code error;
    if (!folder.empty()) fs::create_directories(folder, error);
    if (error) fail("cannot write", path, "a folder for it", error.message());
    return OutputFile(path);
}

}  // namespace

TrackWorker::TrackWorker(const TrackSettings& settings) : m_settings(settings), m_engine(settings.model) {}

double TrackWorker::run(const TrackJob& job) {
    const TrackDocument document = track(job);
    const OutputFile output = job.output == kStandardStream ? OutputFile("") : openOutput(job.output);
    output.write(m_settings.format->bytes(document));
    return document.end - document.start;
}

TrackDocument TrackWorker::track(const TrackJob& job) {
    const Excerpt& excerpt = m_settings.excerpt;
    Recording recording =
        readRecording(job.input, {m_settings.channel, excerpt.readFrom(), excerpt.readTo(), m_settings.raw});
    TrackDocument document;
    document.start = excerpt.start;
    document.end = excerpt.end(excerpt.readFrom() + recording.seconds());
    if (document.end <= document.start)
        fail(kCannotRead, job.input, "sound at " + shortNumber(document.start) + " s", "its end before that");
    document.rate = recording.rate;
    document.track = produce(std::move(recording), job.input, m_settings, m_engine);
    excerpt.cut(document.track);
    applyThreshold(document.track, m_settings.threshold);
    applyRange(document.track, m_settings.lowest, m_settings.highest);
    document.unit = m_settings.unit;
    document.unvoiced = m_settings.unvoiced;
    document.recording = job.input;
    document.about = m_settings.about;
    return document;
}

}  // namespace katessel
