#include "NoteFinder.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace {

constexpr double kFrame = 0.005;           // [s]
constexpr float kWidth = 80.0f;            // [cents] a semitone away is another note
constexpr std::size_t kMemory = 100;       // [frames] that the note's present pitch is the median of
constexpr std::size_t kAway = 20;          // [frames] on another pitch that begin a new note
constexpr int kBridge = 4;                 // [frames] without a pitch inside a note
constexpr double kShortest = 0.06 - 1e-9;  // [s]; instants carry rounding errors

float median(std::vector<float> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

}  // namespace

bool NoteFinder::inTune(float cents) const {
    std::vector<float> recent;
    for (std::size_t i = m_frames.size() - std::min(kMemory, m_frames.size()); i < m_frames.size(); ++i)
        recent.push_back(m_frames[i].cents);
    return std::fabs(cents - median(std::move(recent))) <= kWidth;
}

std::optional<Note> NoteFinder::add(double time, float frequency) {
    if (frequency <= 0.0f) return ++m_silent > kBridge ? finish() : std::nullopt;
    m_silent = 0;
    const float cents = 1200.0f * std::log2(frequency / 440.0f);
    m_away.push_back({time, cents});
    if (m_frames.empty() || inTune(cents)) {
        m_frames.insert(m_frames.end(), m_away.begin(), m_away.end());
        m_away.clear();
        return std::nullopt;
    }
    return m_away.size() < kAway ? std::nullopt : close();
}

std::optional<Note> NoteFinder::finish() {
    const std::optional<Note> note = close();
    m_frames.clear();
    m_silent = 0;
    return note;
}

// Ends the note; the frames on another pitch become the next one.
std::optional<Note> NoteFinder::close() {
    const std::vector<Frame> frames = std::exchange(m_frames, std::exchange(m_away, {}));
    if (frames.empty()) return std::nullopt;
    const double duration = frames.back().time + kFrame - frames.front().time;
    if (duration < kShortest) return std::nullopt;
    std::vector<float> cents;
    for (const Frame& frame : frames) cents.push_back(frame.cents);
    return Note{frames.front().time, duration, 440.0f * std::exp2(median(std::move(cents)) / 1200.0f)};
}
