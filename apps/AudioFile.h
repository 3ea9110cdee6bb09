// Reading a recording: any file that libsndfile reads, mixed to one channel.
#ifndef KATESSEL_APPS_AUDIOFILE_H
#define KATESSEL_APPS_AUDIOFILE_H

#include <cstdint>
#include <string>
#include <vector>

struct Recording {
    int rate = 0;                // [Hz]
    std::vector<float> samples;  // mono, nominally -1 .. 1

    std::int64_t length() const { return static_cast<std::int64_t>(samples.size()); }
    double seconds() const { return static_cast<double>(samples.size()) / rate; }
};

// Reads the whole file; several channels are averaged. Fails when there is no such file, when its format is
// unknown or broken, when it holds no samples, and when a sample is not a number or absurdly large: one such
// sample would poison the estimates around it without a trace in the output.
Recording readRecording(const std::string& path);

#endif
