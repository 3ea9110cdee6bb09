// Sound as it streams through a plug-in, and the pitch and the note of every 5 ms of it, each at its place in the sound that
// comes out: that is the sound that went in, later by what the analysis waits for.
#ifndef KATESSEL_PLUGIN_PITCHSTREAM_H
#define KATESSEL_PLUGIN_PITCHSTREAM_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <katessel/Tracker.hpp>
#include <katessel/Voicing.hpp>
#include <vector>

#include "recordings/tracks/Notes.h"

namespace katessel::plugin {

class PitchStream {
public:
    // A row and the place, in the block that is processed, of the instant that it is about.
    using OnRow = std::function<void(std::uint32_t frame, const NotedRow& row)>;

    // Throws what KaTessel::Tracker throws. Nothing else here allocates, waits or calls the system.
    explicit PitchStream(int rate);

    int rate() const { return m_tracker.rate(); }

    // Forgets the sound. Notes are decided `lookAhead` rows later, 1 to NoteDecoder::kMostLag.
    void restart(int lookAhead);

    void setThreshold(float threshold);

    // How much later the sound comes out [samples].
    std::size_t latency() const { return m_latency; }

    // `in` and `out` hold `count` samples and may be the same. What is no number is analysed as silence. What comes out
    // does not depend on where blocks begin.
    void process(const float* in, float* out, std::uint32_t count, const OnRow& onRow);

private:
    struct PlacedRow {
        std::int64_t sample;  // of the sound that comes out
        NotedRow row;
    };

    std::int64_t firstSampleOf(std::int64_t row) const;
    void analyse(const float* in, std::size_t count);
    void decide(const PitchRow& row);

    KaTessel::Tracker m_tracker;
    KaTessel::VoicingFilter<KaTessel::Pitch> m_voicing;
    NoteDecoder m_notes;
    std::size_t m_latency = 0;
    std::int64_t m_passed = 0;           // samples
    std::vector<float> m_delay;          // the newest samples, as a ring
    std::array<PlacedRow, 16> m_placed;  // rows that wait for their place; of one piece there are a few
    std::size_t m_waiting = 0;           // how many
};

}  // namespace katessel::plugin

#endif
