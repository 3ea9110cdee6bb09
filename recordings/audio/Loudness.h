// How loud a sound is at each instant of its track.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

#include "recordings/audio/AudioFile.h"

namespace katessel {

constexpr float kSilentLoudness = -120.0f;  // [dB] of digital silence, and of whatever is below

// Root mean square over 40 ms, 20 ms on either side of an instant: two periods of the lowest pitch. In dB of full scale, 0 dB
// being a root mean square of 1, so that a sine of amplitude 1 has -3 dB. Where the sound begins or ends, over what is there.
class LoudnessMeter {
public:
    explicit LoudnessMeter(int rate) : m_rate(rate) {}

    // The next samples.
    void add(const float* samples, std::size_t count);

    // Around an instant [s], to the nearest 5 ms; the sound must have come 20 ms further, or ended. Instants rise, and what
    // lies before them is forgotten.
    float at(double time);

private:
    // The samples of 5 ms, which begin and end between two samples at most rates.
    struct Cell {
        double energy = 0.0;
        int count = 0;
    };

    int m_rate;                // [Hz]
    std::int64_t m_came = 0;   // samples
    std::int64_t m_first = 0;  // number of the first cell held
    std::deque<Cell> m_cells;
};

// A stream that shows a meter what goes through it.
class MeteredStream : public SoundStream {
public:
    // Both must outlive it.
    MeteredStream(SoundStream& sound, LoudnessMeter& meter) : m_sound(sound), m_meter(meter) {}

    int rate() const override { return m_sound.rate(); }
    bool read(std::vector<float>& samples, std::size_t most) override;

private:
    SoundStream& m_sound;
    LoudnessMeter& m_meter;
};

}  // namespace katessel
