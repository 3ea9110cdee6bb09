#include "Corpus.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "recordings/audio/AudioFile.h"
#include "recordings/audio/SoundFolder.h"
#include "recordings/base/Errors.h"
#include "recordings/base/Text.h"
#include "recordings/tracks/Reference.h"

namespace katessel::training {

namespace fs = std::filesystem;

namespace {

float medianOfVoiced(const std::vector<float>& pitch) {
    std::vector<float> voiced;
    std::copy_if(pitch.begin(), pitch.end(), std::back_inserter(voiced), [](float hz) { return hz > 0.0f; });
    if (voiced.empty()) return 0.0f;
    const auto middle = voiced.begin() + static_cast<std::ptrdiff_t>(voiced.size() / 2);
    std::nth_element(voiced.begin(), middle, voiced.end());
    return *middle;
}

Clip readClip(const fs::path& path, const fs::path& truth) {
    Recording recording = readRecording(path.string());
    if (recording.rate != kRate) recording = convertRate(recording, kRate, path.string());
    Clip clip;
    clip.samples = std::move(recording.samples);
    if (truth.empty())
        clip.pitch.assign(clip.samples.size() / kHop + 1, kUnvoiced);
    else
        clip.pitch = readReference(truth.string());
    clip.medianPitch = medianOfVoiced(clip.pitch);
    return clip;
}

// The pitch between two frames of a clip: `place` counts in frames.
float pitchAt(const std::vector<float>& pitch, double place) {
    const double floor = std::floor(place);
    const auto at = [&](double index) {
        return index >= 0.0 && index < static_cast<double>(pitch.size()) ? pitch[static_cast<std::size_t>(index)]
                                                                         : kUnvoiced;
    };
    const float before = at(floor), after = at(floor + 1.0);
    const double part = place - floor;
    if (before > 0.0f && after > 0.0f) return static_cast<float>(before * std::pow(after / before, part));
    // Where voicing begins or ends between the two, the nearer one tells, and half-way nobody can.
    if (before != after && std::fabs(part - 0.5) < 0.2) return kUnknown;
    return part < 0.5 ? before : after;
}

// Values between samples: a sinc under a Hann window, wider where sound is sped up and its highest frequencies would come
// back as others.
class Interpolation {
public:
    explicit Interpolation(double speed)
        : m_stretch(std::max(1.0, speed)), m_reach(static_cast<long>(kLobes * m_stretch)) {
        const double steps = kPerSample / m_stretch;
        for (std::size_t i = 0; i <= static_cast<std::size_t>(m_reach + 1) * kPerSample; ++i) {
            const double x = static_cast<double>(i) / (kPerSample * m_stretch);
            const double sinc = x > 0.0 ? std::sin(M_PI * x) / (M_PI * x) : 1.0;
            m_table.push_back(
                x < kLobes ? static_cast<float>(sinc * (0.5 + 0.5 * std::cos(M_PI * x / kLobes)) * steps / kPerSample)
                           : 0.0f);
        }
    }

    float operator()(const Samples& samples, double place) const {
        const long whole = static_cast<long>(std::floor(place)), size = static_cast<long>(samples.size());
        float sum = 0.0f;
        for (long i = std::max(0L, whole - m_reach + 1); i <= std::min(size - 1, whole + m_reach); ++i)
            sum += samples[static_cast<std::size_t>(i)] *
                   m_table[static_cast<std::size_t>(std::fabs(static_cast<double>(i) - place) * kPerSample + 0.5)];
        return sum;
    }

private:
    static constexpr int kLobes = 8, kPerSample = 512;

    double m_stretch;
    long m_reach;  // [samples] on either side
    std::vector<float> m_table;
};

}  // namespace

Corpus::Corpus(const std::string& folder, bool labelled) {
    if (!fs::is_directory(folder)) fail("cannot train", folder, "a folder of recordings", "none");
    std::vector<fs::path> paths;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        fs::path truth = entry.path();
        if (isNamedLikeSound(entry.path().string()) &&
            (!labelled || fs::is_regular_file(truth.replace_extension(".f0"))))
            paths.push_back(entry.path());
    }
    if (paths.empty())
        fail("cannot train", folder, labelled ? "recordings with .f0 files beside them" : "recordings", "none");
    std::sort(paths.begin(), paths.end());
    for (const fs::path& path : paths) {
        fs::path truth = path;
        m_clips.push_back(readClip(path, labelled ? truth.replace_extension(".f0") : fs::path()));
        m_ends.push_back(seconds() + static_cast<double>(m_clips.back().samples.size()) / kRate);
    }
}

double Corpus::seconds() const { return m_ends.empty() ? 0.0 : m_ends.back(); }

const Clip& Corpus::draw(Random& random) const {
    const auto end = std::upper_bound(m_ends.begin(), m_ends.end() - 1, random.uniform(0.0, seconds()));
    return m_clips[static_cast<std::size_t>(end - m_ends.begin())];
}

LabelledSound excerpt(const Clip& clip, double start, double speed, int frames) {
    LabelledSound sound;
    sound.pitch.resize(static_cast<std::size_t>(frames));
    for (int i = 0; i < frames; ++i) {
        const float pitch = pitchAt(clip.pitch, (start + speed * (kCentre + kHop * i)) / kHop);
        sound.pitch[static_cast<std::size_t>(i)] = pitch > 0.0f ? pitch * static_cast<float>(speed) : pitch;
    }

    // Sample n of the result is the clip's sample start + n * speed.
    sound.samples.resize(static_cast<std::size_t>(samplesFor(frames)));
    const Interpolation interpolation(speed);
    for (std::size_t i = 0; i < sound.samples.size(); ++i)
        sound.samples[i] = interpolation(clip.samples, start + speed * static_cast<double>(i));
    return sound;
}

Samples roughExcerpt(const Clip& clip, double start, double speed, int samples) {
    Samples out(static_cast<std::size_t>(samples), 0.0f);
    for (std::size_t i = 0; i < out.size(); ++i) {
        const double place = start + speed * static_cast<double>(i);
        const std::size_t whole = static_cast<std::size_t>(place);
        if (whole + 1 >= clip.samples.size()) break;
        const float part = static_cast<float>(place - static_cast<double>(whole));
        out[i] = clip.samples[whole] + part * (clip.samples[whole + 1] - clip.samples[whole]);
    }
    return out;
}

}  // namespace katessel::training
