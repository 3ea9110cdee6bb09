// Where the samples of a recording come from: a file or standard input, with a header or raw.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "recordings/audio/Damage.h"

namespace katessel {

// Sound without a header: interleaved little-endian samples.
enum class RawSample { float32, float64, int16, int24, int32 };

// By their names, as the command line has them.
struct RawKind {
    const char* name;
    RawSample sample;
    int bytes;
};
inline constexpr RawKind kRawKinds[] = {{"f32", RawSample::float32, 4},
                                        {"f64", RawSample::float64, 8},
                                        {"s16", RawSample::int16, 2},
                                        {"s24", RawSample::int24, 3},
                                        {"s32", RawSample::int32, 4}};

struct RawForm {
    RawKind kind = kRawKinds[0];
    int rate = 0;  // [Hz]
    int channels = 1;

    int frameBytes() const { return channels * kind.bytes; }
};

constexpr char kCannotRead[] = "cannot read the recording";
constexpr char kDamaged[] = "damaged recording";
constexpr char kStandardStream[] = "-";  // names standard input and standard output

class SoundSource {
public:
    virtual ~SoundSource() = default;

    int rate() const { return m_rate; }          // [Hz], above 0
    int channels() const { return m_channels; }  // above 0

    // How many frames there seem to be; 0: unknown. A header may be wrong.
    virtual std::int64_t expectedFrames() const { return 0; }

    // Reads up to `frames` frames of all channels, interleaved. Returns how many; 0 is the end, or where the sound is
    // broken.
    virtual int read(float* samples, int frames) = 0;

    // What is known to be wrong; more after the last read.
    virtual std::optional<Damage> damage() const { return std::nullopt; }

    // Moves on by that many frames if that costs no reading. Returns false, and moves nowhere, where it would.
    virtual bool seek(std::int64_t) { return false; }

protected:
    int m_rate = 0;
    int m_channels = 0;
};

// Opens a file, or standard input for "-". Without a raw form the sound must be in a format that libsndfile reads, or be
// named like one that ffmpeg does. Fails when it is damaged, unless that is allowed and nothing is missing before its end.
std::unique_ptr<SoundSource> openSound(const std::string& path, const std::optional<RawForm>& raw, bool allowDamaged);

// The same for what is found later.
void refuseDamage(const Damage& damage, const std::string& path, bool allowDamaged);

}  // namespace katessel
