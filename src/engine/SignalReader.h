// A whole signal at 24 kHz, of any length and original rate, read piece by piece from front to back.
#pragma once

#include <cstdint>
#include <vector>

#include "katessel/CKaResample.h"

namespace KaTessel {

// Converts as it goes and keeps only the stretch that is still needed. The samples are those that one conversion of
// the whole signal by CKaResample would give.
class SignalReader {
public:
    //   input      numSamples samples at the host's rate, which must outlive the reader
    //   rateRatio  host rate / 24000; 1: no conversion
    //   filter     resampler whose FIR is used; its history is not touched
    SignalReader(const float* input, int numSamples, float rateRatio, KaResample::CKaResample& filter);

    std::int64_t length() const { return m_length; }  // [samples at 24 kHz]

    // Copies samples position .. position + count - 1; outside the signal they are 0. Positions must not go back by
    // more than kBack samples from one call to the next.
    void read(std::int64_t position, int count, float* to);

    static constexpr int kBack = 4096;

private:
    void convertUntil(std::int64_t end);

    const float* m_input;
    std::int64_t m_numSamples;
    float m_ratio;
    KaResample::CKaResample& m_filter;
    std::int64_t m_length;

    std::vector<float> m_converted;  // samples m_start .. m_start + size - 1 at 24 kHz
    std::int64_t m_start = 0;
    std::int64_t m_consumed = 0;  // host samples that the next conversion starts behind
    double m_position = 0.0;      // of the next output, from m_consumed on
    std::vector<float> m_piece;   // host samples of a conversion at an end of the signal, with the zeros beside it
};

}  // namespace KaTessel
