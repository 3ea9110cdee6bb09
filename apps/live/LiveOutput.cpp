#include "apps/live/LiveOutput.h"

#include <unistd.h>

#include <cmath>

#include "apps/formats/TrackFormat.h"
#include "recordings/base/Errors.h"
#include "recordings/base/Text.h"
#include "recordings/tracks/Notes.h"

namespace katessel {

namespace {

constexpr double kDisplayInterval = 0.05;  // [s] on a terminal
constexpr double kLineInterval = 0.5;      // [s] elsewhere
constexpr double kFileInterval = 1.0;      // [s]
constexpr int kHalfScale = 20;             // characters on either side of the middle

}  // namespace

std::string displayLine(const PitchRow& row, const NoteNaming& naming) {
    std::string scale(2 * kHalfScale + 1, '.');
    scale[kHalfScale] = '|';
    std::string note, frequency;
    if (row.frequency > 0.0f) {
        const double pitch = 1200.0 * std::log2(row.frequency / naming.a4);  // [cents]
        const int semitones = static_cast<int>(std::lround(pitch / 100.0));
        const double off = pitch - 100.0 * semitones;
        scale[static_cast<std::size_t>(kHalfScale + std::lround(off / 50.0 * kHalfScale))] = '#';
        std::string cents(std::signbit(off) ? 0 : 1, '+');
        cents += fixedText(off, 0);
        note = leftAligned(noteName(69 + semitones + naming.transposition), 4) + rightAligned(cents, 4) + " cents";
        frequency = fixedText(row.frequency, 2) + " Hz";
    }
    return leftAligned(note, 14) + " [" + scale + "] " + rightAligned(frequency, 11) + "  confidence " +
           rightAligned(fixedText(row.confidence, 2), 4);
}

LiveOutput::LiveOutput(const std::optional<std::string>& csv, const NoteNaming& naming)
    : m_naming(naming),
      m_streams(csv && (*csv == "-" || csv->empty())),
      m_isTerminal(::isatty(STDOUT_FILENO) != 0),
      m_text("time,frequency,confidence\n") {
    if (csv && !m_streams) m_file.emplace(OutputFile(*csv), Unfinished::kept);
}

void LiveOutput::add(const PitchRow& row) {
    m_time = row.time;
    if (m_streams || m_file) appendCsvLine(m_text, row.time, row.frequency, row.confidence);
    if (!m_streams && row.time >= m_nextShown) show(row);
}

void LiveOutput::flush() {
    if (m_streams) {
        if (std::fwrite(m_text.data(), 1, m_text.size(), stdout) != m_text.size() || std::fflush(stdout) != 0)
            fail(kCannotWrite, "standard output", "room for the result", "none");
    } else if (m_file && m_time - m_flushed >= kFileInterval) {
        m_file->append(m_text);
        m_flushed = m_time;
    } else {
        return;
    }
    m_text.clear();
}

void LiveOutput::finish() {
    if (m_file) {
        m_file->append(m_text);
        m_file->finish();
    }
    if (m_streams) flush();
    if (!m_streams && m_isTerminal) std::printf("\n");
}

void LiveOutput::show(const PitchRow& row) {
    m_nextShown = row.time + (m_isTerminal ? kDisplayInterval : kLineInterval);
    std::printf(m_isTerminal ? "\r%s" : "%s\n", displayLine(row, m_naming).c_str());
    std::fflush(stdout);
}

}  // namespace katessel
