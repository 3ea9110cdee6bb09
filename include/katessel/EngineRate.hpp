// Sound at any rate as sound at the engine's own, in pieces of any size and without losing a sample. Header-only over one
// function of the library, C++17.
#ifndef KATESSEL_ENGINERATE_HPP
#define KATESSEL_ENGINERATE_HPP

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "katessel/EngineFacts.hpp"
#include "katessel/Export.h"

namespace KaTessel {

// The FIR of the engine's resampler, at any ratio: out[k], `count` values at facts::kRate, from the facts::kFilterTaps samples
// of `in` that begin at the whole part of (part + k * rate) / facts::kRate; the rest of it places the value between the
// middle two. `part` is 0 or more, `rate` [Hz] that of the samples in `in`, 1 to facts::kHighestRate; `in` holds all that the
// last value takes. A value is the same in a run of any length. Throws std::bad_alloc when there is no memory for the filter,
// in a program's first call or never.
KATESSEL_API void resampledValues(const float* in, int part, int rate, float* out, int count);

inline namespace v1 {

// Uses the filter of the engine's resampler, but goes on exactly where the piece before ended, at every ratio. The
// positions are counted in whole numbers, so that they do not drift.
class EngineRate {
public:
    static constexpr int kRate = facts::kRate;  // [Hz]

    // `rate` [Hz] is that of the samples to come, 1 to facts::kHighestRate.
    explicit EngineRate(int rate) : m_rate(rate) {
        if (rate == kRate) return;
        m_input.assign(kHistory + kPiece, 0.0f);
        m_output.resize(static_cast<std::size_t>(std::int64_t{kPiece} * kRate / rate + 2));
        resampledValues(m_input.data(), 0, rate, m_output.data(), 1);  // so that no later call is the first
        m_delay = static_cast<int>(std::int64_t{kDelay} * kRate / rate);
        m_offset = std::int64_t{kDelay} * kRate - std::int64_t{m_delay} * rate;
    }

    // The output that is about the very first sample that was put in: that many come before it.
    int delay() const { return m_delay; }  // [samples at 24 kHz]

    // The same in samples that go in; 0 at 24 kHz, 9 at any other rate.
    int inputDelay() const { return converts() ? kDelay : 0; }

    // Forgets what was put in. Allocates nothing.
    void reset() {
        std::fill(m_input.begin(), m_input.end(), 0.0f);
        m_consumed = m_produced = 0;
    }

    // Calls sink(const float* samples, int count) with what becomes of `count` samples, in one or more pieces.
    template <class Sink>
    void convert(const float* samples, std::size_t count, Sink&& sink) {
        while (count > 0) {
            const int piece = static_cast<int>(std::min<std::size_t>(count, kPiece));
            if (converts())
                sink(static_cast<const float*>(m_output.data()), convertPiece(samples, piece));
            else
                sink(samples, piece);
            samples += piece;
            count -= static_cast<std::size_t>(piece);
        }
    }

private:
    static constexpr int kPiece = 512;  // [input samples] converted at a time
    static constexpr int kDelay = facts::kFilterDelay;
    static constexpr int kHistory = 32;  // [input samples] kept of the pieces before
    static constexpr int kOrigin = 16;   // where in m_input the filter begins for an output due at the piece's start

    bool converts() const { return !m_input.empty(); }

    // Output i is due when (i * m_rate + m_offset) / kRate samples are in, wherever the pieces begin. Returns the number
    // of outputs.
    int convertPiece(const float* samples, int count) {
        std::copy_n(samples, count, m_input.begin() + kHistory);
        const std::int64_t ahead = m_produced * m_rate + m_offset - m_consumed * kRate;  // of the first, never negative
        const std::int64_t room = std::int64_t{count} * kRate - ahead;
        const int outputs = room > 0 ? static_cast<int>((room + m_rate - 1) / m_rate) : 0;
        resampledValues(m_input.data() + kOrigin, static_cast<int>(ahead), m_rate, m_output.data(), outputs);
        std::copy_n(m_input.begin() + count, kHistory, m_input.begin());
        m_consumed += count;
        m_produced += outputs;
        return outputs;
    }

    int m_rate;
    int m_delay = 0;              // [samples at 24 kHz], whole
    std::int64_t m_offset = 0;    // [input samples / kRate] what the whole delay falls short by
    std::vector<float> m_input;   // kHistory + kPiece; empty at 24 kHz
    std::vector<float> m_output;  // all outputs of one piece
    std::int64_t m_consumed = 0;  // samples put in before this piece
    std::int64_t m_produced = 0;  // outputs so far
};

}  // namespace v1
}  // namespace KaTessel

#endif
