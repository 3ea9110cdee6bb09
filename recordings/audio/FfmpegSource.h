// Sound that libsndfile does not read, m4a, aac and that of video, as the program ffmpeg decodes it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "recordings/audio/SoundSource.h"
#include "recordings/base/ChildOutput.h"

namespace katessel {

// By the file's extension, in capitals or not.
bool isForFfmpeg(const std::string& path);

// The first track of sound. Whatever ffmpeg complains about fails, since what it then leaves out nobody can tell.
class FfmpegSource : public SoundSource {
public:
    explicit FfmpegSource(const std::string& path);

    int read(float* samples, int frames) override;

private:
    void readHeader();
    void finish();

    std::string m_path;
    ChildOutput m_decoder;
    std::vector<std::uint32_t> m_words;  // samples as they come
};

}  // namespace katessel
