#include "recordings/tracks/Notes.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

namespace katessel {

namespace {

constexpr float kMostCost = 1.0f;    // of one row
constexpr float kEdgeCost = 4.0f;    // from silence to a note and back
constexpr float kChangeCost = 8.0f;  // from one note to another

// Unvoiced rows that cost any note more than to end and to begin again: all of them are silence.
constexpr int kSureGap = static_cast<int>(2 * kEdgeCost / kMostCost) + 1;

constexpr int kNotes = 128;  // MIDI
constexpr int kSilence = 0;  // state 0; state 1 + n is note lowest + n
using State = std::uint8_t;

int nearestNote(float frequency) {
    return std::clamp(static_cast<int>(std::lround(midiNote(frequency))), 0, kNotes - 1);
}

// The cheapest path through the states, one row after the other (Viterbi).
class Path {
public:
    Path(int lowest, int highest, std::size_t rows)
        : m_lowest(lowest), m_states(highest - lowest + 2), m_cost(static_cast<std::size_t>(m_states), kEdgeCost) {
        m_cost[kSilence] = 0.0f;
        m_from.reserve(rows * m_cost.size());
    }

    void add(const PitchRow& row) {
        const int bestNote = static_cast<int>(std::min_element(m_cost.begin() + 1, m_cost.end()) - m_cost.begin());
        const float silence = m_cost[kSilence], best = m_cost[static_cast<std::size_t>(bestNote)];
        const bool voiced = row.frequency > 0.0f;
        const double pitch = voiced ? midiNote(row.frequency) : 0.0;
        for (int s = 0; s < m_states; ++s) {
            float& cost = m_cost[static_cast<std::size_t>(s)];
            int from = s;
            const auto offer = [&](int other, float price) {
                if (price < cost) cost = price, from = other;
            };
            if (s == kSilence) {
                offer(bestNote, best + kEdgeCost);
                cost += voiced ? kMostCost : 0.0f;
            } else {
                offer(kSilence, silence + kEdgeCost);
                offer(bestNote, best + kChangeCost);
                const double distance = std::fabs(pitch - (m_lowest + s - 1));
                cost += voiced ? std::min(static_cast<float>(distance), kMostCost) : kMostCost;
            }
            m_from.push_back(static_cast<State>(from));
        }
        // Only differences matter; sums of hours would lose them.
        const float least = *std::min_element(m_cost.begin(), m_cost.end());
        for (float& cost : m_cost) cost -= least;
    }

    // The note of each row, or -1 for silence.
    std::vector<int> notes() const {
        const std::size_t states = m_cost.size(), rows = m_from.size() / states;
        std::size_t state = static_cast<std::size_t>(std::min_element(m_cost.begin(), m_cost.end()) - m_cost.begin());
        // A note that still sounds ends with the recording.
        if (state != kSilence && m_cost[state] + kEdgeCost > m_cost[kSilence]) state = kSilence;
        std::vector<int> found(rows);
        for (std::size_t r = rows; r-- > 0;) {
            found[r] = state == kSilence ? -1 : m_lowest + static_cast<int>(state) - 1;
            state = m_from[r * states + state];
        }
        return found;
    }

private:
    int m_lowest, m_states;
    std::vector<float> m_cost;  // of the cheapest path to each state
    std::vector<State> m_from;  // rows x states: the state before on that path
};

// The notes of rows between two silences.
std::vector<Note> notesOf(const PitchTrack& rows, double end) {
    int lowest = kNotes, highest = -1;
    for (const PitchRow& row : rows) {
        if (row.frequency <= 0.0f) continue;
        lowest = std::min(lowest, nearestNote(row.frequency));
        highest = std::max(highest, nearestNote(row.frequency));
    }
    if (highest < 0) return {};
    Path path(lowest, highest, rows.size());
    for (const PitchRow& row : rows) path.add(row);

    std::vector<Note> notes;
    int before = -1;
    const std::vector<int> numbers = path.notes();
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (numbers[i] != before && before >= 0) notes.back().end = rows[i].time;
        if (numbers[i] != before && numbers[i] >= 0) notes.push_back({rows[i].time, end, numbers[i]});
        before = numbers[i];
    }
    return notes;
}

}  // namespace

std::vector<Note> NoteFinder::add(const PitchRow& row) {
    m_rows.push_back(row);
    m_gap = row.frequency > 0.0f ? 0 : m_gap + 1;
    return m_gap < kSureGap ? std::vector<Note>() : finish(row.time);
}

std::vector<Note> NoteFinder::finish(double end) {
    m_gap = 0;
    return notesOf(std::exchange(m_rows, {}), end);
}

std::vector<Note> findNotes(const PitchTrack& track, double end) {
    std::vector<Note> notes;
    const auto append = [&](const std::vector<Note>& more) { notes.insert(notes.end(), more.begin(), more.end()); };
    NoteFinder finder;
    for (const PitchRow& row : track) append(finder.add(row));
    append(finder.finish(end));
    return notes;
}

std::string noteName(int number) {
    constexpr const char* names[] = {"C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"};
    const int octave = static_cast<int>(std::floor(number / 12.0));
    return names[number - 12 * octave] + std::to_string(octave - 1);
}

double noteFrequency(int number) { return 440.0 * std::exp2((number - 69) / 12.0); }

}  // namespace katessel
