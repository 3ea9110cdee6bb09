#include "apps/batch/TrackWorker.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <system_error>

#include "recordings/audio/AudioFile.h"
#include "recordings/audio/Loudness.h"
#include "recordings/base/Errors.h"
#include "recordings/base/OutputFile.h"
#include "recordings/base/Text.h"

namespace katessel {

namespace fs = std::filesystem;

namespace {

constexpr int kRowsPerWrite = KaTessel::facts::kFramesPerSecond;

// Folders of outputs come as they are needed.
OutputFile openOutput(const std::string& path) {
    const fs::path folder = path == kStandardStream ? fs::path() : fs::path(path).parent_path();
    std::error_code error;
    if (!folder.empty()) fs::create_directories(folder, error);
    if (error) fail(kCannotWrite, path, "a folder for it", error.message());
    return OutputFile(path);
}

// The rows of one track as the engine finds them on the way to its file: which are voiced, which are wanted, how they are
// written.
class TrackOutput {
public:
    TrackOutput(const TrackJob& job, const TrackSettings& settings, int rate)
        : m_path(job.output),
          m_settings(settings),
          m_voicing({settings.model.threshold, settings.voicing}),
          m_writer(settings.format->writer({settings.excerpt.start, settings.unit, settings.unvoiced, job.input, rate,
                                            settings.about, settings.loudness, settings.tempo, settings.pitchBend})) {
        if (settings.loudness || settings.format->needsLoudness) m_meter.emplace(rate);
    }

    // What wants to see the sound before its rows come; null: nobody.
    LoudnessMeter* meter() { return m_meter ? &*m_meter : nullptr; }

    // `row` counts from where the recording is read.
    void add(PitchRow row) {
        if (m_meter) row.loudness = m_meter->at(row.time);
        row.time += m_settings.excerpt.readFrom();
        m_voicing.add(row, row.confidence, [this](const PitchRow& each, bool voiced) { write(each, voiced); });
    }

    void finish(double end) {
        m_voicing.finish([this](const PitchRow& each, bool voiced) { write(each, voiced); });
        m_writer->finish(end, m_bytes);
        handOver();
        m_file->finish();
    }

private:
    void write(PitchRow row, bool voiced) {
        if (!m_settings.excerpt.holds(row.time)) return;
        if (!voiced || row.frequency < m_settings.lowest || row.frequency > m_settings.highest) row.frequency = 0.0f;
        m_writer->add(row, m_bytes);
        if (++m_rows % kRowsPerWrite == 0 && !m_bytes.empty()) handOver();
    }

    void handOver() {
        if (!m_file) m_file.emplace(openOutput(m_path), Unfinished::removed);
        m_file->append(m_bytes);
        m_bytes.clear();
    }

    std::string m_path;
    const TrackSettings& m_settings;
    KaTessel::VoicingFilter<PitchRow> m_voicing;
    std::optional<LoudnessMeter> m_meter;
    std::unique_ptr<TrackWriter> m_writer;
    std::string m_bytes;  // not handed over yet
    std::int64_t m_rows = 0;
    std::optional<GrowingFile> m_file;
};

}  // namespace

double TrackWorker::run(const TrackJob& job, std::string& damage, RecordingProgress* progress) {
    const Excerpt& excerpt = m_settings.excerpt;
    RecordingStream sound(
        job.input, {m_settings.channel, excerpt.readFrom(), excerpt.readTo(), m_settings.raw, m_settings.allowDamaged});
    TrackOutput output(job, m_settings, sound.rate());
    const auto watch = [progress](const char* stage, double seconds) {
        return progress != nullptr ? progress->watch(stage, seconds) : OnProgress();
    };
    OnProgress onProgress;
    const auto onRow = [&](const PitchRow& row) {
        output.add(row);
        if (onProgress) onProgress(row.time);
    };
    // Raw or live, the sound may still be coming. A file is read first: what is wrong with it may show at its end, and rows on
    // standard output cannot be taken back.
    if (m_settings.raw || m_settings.mode == TrackMode::live) {
        onProgress = watch("tracking", sound.expectedSeconds());
        if (output.meter() != nullptr) {
            MeteredStream metered(sound, *output.meter());
            m_tracker.track(metered, job.input, onRow);
        } else {
            m_tracker.track(sound, job.input, onRow);
        }
    } else {
        const Recording recording = readRecording(sound, watch("reading", sound.expectedSeconds()));
        onProgress = watch("tracking", recording.seconds());
        if (output.meter() != nullptr) output.meter()->add(recording.samples.data(), recording.samples.size());
        m_tracker.track(recording, job.input, onRow);
    }
    damage = sound.damage();
    const double end = excerpt.end(excerpt.readFrom() + sound.seconds(), job.input);
    output.finish(end);
    return end - excerpt.start;
}

}  // namespace katessel
