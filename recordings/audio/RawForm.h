// Sound without a header, as `--raw` describes it: f32:48000, s16:44100:2.
#pragma once

#include <string>

namespace katessel {

enum class RawSample { float32, int16 };  // little-endian

struct RawForm {
    RawSample sample = RawSample::float32;
    int rate = 0;      // [Hz]
    int channels = 1;  // interleaved

    int sampleBytes() const { return sample == RawSample::float32 ? 4 : 2; }
    int frameBytes() const { return channels * sampleBytes(); }
};

// Reads "SAMPLE:RATE[:CHANNELS]". Anything else is wrong usage.
RawForm parseRawForm(const std::string& text);

// Converts `count` samples from their bytes, integers to -1 .. 1.
void decodeSamples(RawSample sample, const unsigned char* bytes, int count, float* samples);

}  // namespace katessel
