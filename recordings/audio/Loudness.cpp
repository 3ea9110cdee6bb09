#include "recordings/audio/Loudness.h"

#include <algorithm>
#include <cmath>

#include "katessel/EngineFacts.hpp"

namespace katessel {

namespace {

constexpr int kCellsPerSecond = KaTessel::facts::kFramesPerSecond;
constexpr std::int64_t kCellsAside = 4;  // on either side of an instant

}  // namespace

void LoudnessMeter::add(const float* samples, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i, ++m_came) {
        const std::int64_t cell = m_came * kCellsPerSecond / m_rate - m_first;
        if (cell < 0) continue;  // forgotten before it came
        if (static_cast<std::size_t>(cell) >= m_cells.size()) m_cells.resize(static_cast<std::size_t>(cell) + 1);
        Cell& held = m_cells[static_cast<std::size_t>(cell)];
        held.energy += static_cast<double>(samples[i]) * samples[i];
        ++held.count;
    }
}

float LoudnessMeter::at(double time) {
    const std::int64_t instant = std::llround(time * kCellsPerSecond);
    for (; m_first < instant - kCellsAside && !m_cells.empty(); ++m_first) m_cells.pop_front();
    double energy = 0.0;
    std::int64_t count = 0;
    const std::int64_t end = std::min<std::int64_t>(instant + kCellsAside - m_first, std::ssize(m_cells));
    for (std::int64_t c = std::max<std::int64_t>(instant - kCellsAside - m_first, 0); c < end; ++c) {
        energy += m_cells[static_cast<std::size_t>(c)].energy;
        count += m_cells[static_cast<std::size_t>(c)].count;
    }
    if (energy <= 0.0) return kSilentLoudness;
    return std::max(static_cast<float>(10.0 * std::log10(energy / static_cast<double>(count))), kSilentLoudness);
}

bool MeteredStream::read(std::vector<float>& samples, std::size_t most) {
    const std::size_t before = samples.size();
    const bool isMore = m_sound.read(samples, most);
    m_meter.add(samples.data() + before, samples.size() - before);
    return isMore;
}

}  // namespace katessel
