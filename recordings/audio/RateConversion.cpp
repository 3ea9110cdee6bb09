#include "recordings/audio/RateConversion.h"

#include <samplerate.h>

#include <cmath>

#include "recordings/base/Errors.h"

namespace katessel {

Recording convertRate(const Recording& recording, int rate, const std::string& path) {
    const double ratio = static_cast<double>(rate) / recording.rate;
    if (src_is_valid_ratio(ratio) == 0)
        fail("cannot convert the recording", path, "a sample rate of 94 to 6144000 Hz",
             std::to_string(recording.rate) + " Hz");

    Recording converted;
    converted.rate = rate;
    converted.samples.resize(static_cast<std::size_t>(std::ceil(static_cast<double>(recording.length()) * ratio)));
    SRC_DATA job = {};
    job.data_in = recording.samples.data();
    job.input_frames = static_cast<long>(recording.length());
    job.data_out = converted.samples.data();
    job.output_frames = static_cast<long>(converted.length());
    job.src_ratio = ratio;
    const int error = src_simple(&job, SRC_SINC_BEST_QUALITY, 1);
    if (error != 0) fail("cannot convert the recording", path, std::to_string(rate) + " Hz", src_strerror(error));
    converted.samples.resize(static_cast<std::size_t>(job.output_frames_gen));
    return converted;
}

}  // namespace katessel
