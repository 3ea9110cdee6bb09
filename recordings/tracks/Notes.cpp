#include "recordings/tracks/Notes.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace katessel {

namespace {

constexpr float kMostCost = 1.0f;    // of one row
constexpr float kEdgeCost = 4.0f;    // from silence to a note and back
constexpr float kChangeCost = 8.0f;  // from one note to another

constexpr float kNever = std::numeric_limits<float>::infinity();

// The place of a row in a ring.
std::size_t placeOf(std::int64_t row) { return static_cast<std::size_t>(row % (NoteDecoder::kMostLag + 1)); }

}  // namespace

NoteDecoder::NoteDecoder(int lag) : m_lag(lag) {
    m_cost.fill(kEdgeCost);
    m_cost[kSilence] = 0.0f;
    m_since.fill(0);
}

NoteDecoder::Stay NoteDecoder::bestNote() const {
    std::array<float, 16> least;  // side by side, for vectors
    least.fill(kNever);
    for (std::size_t n = 0; n < kNotes; n += least.size())
        for (std::size_t i = 0; i < least.size(); ++i) least[i] = std::min(least[i], m_cost[n + i]);
    const float cost = *std::min_element(least.begin(), least.end());
    const auto note = std::find(m_cost.begin(), m_cost.end() - 1, cost) - m_cost.begin();
    return {static_cast<int>(note), m_since[static_cast<std::size_t>(note)]};
}

NoteDecoder::Stay NoteDecoder::best() const {
    const Stay note = bestNote();
    return costOf(note) < m_cost[kSilence] ? note : Stay{kSilence, m_since[kSilence]};
}

// The cheapest path to each state, one row further (Viterbi). Returns the cheapest of all.
NoteDecoder::Stay NoteDecoder::extend(float frequency) {
    const Stay note = bestNote(), silence{kSilence, m_since[kSilence]};
    const float change = costOf(note) + kChangeCost, start = costOf(silence) + kEdgeCost,
                end = costOf(note) + kEdgeCost;
    const float entry = std::min(start, change);
    m_moves[placeOf(m_taken)] = {change < start ? note : silence, note};

    const bool isVoiced = frequency > 0.0f;
    // Far from all notes where there is none.
    const double pitch = isVoiced ? midiNote(frequency) : -2.0 * kNotes;
    for (std::size_t n = 0; n < kNotes; ++n) {
        m_since[n] = entry < m_cost[n] ? m_taken : m_since[n];
        const auto distance = static_cast<float>(std::fabs(pitch - static_cast<double>(n)));
        m_cost[n] = std::min(m_cost[n], entry) + std::min(distance, kMostCost);
    }
    if (end < m_cost[kSilence]) m_cost[kSilence] = end, m_since[kSilence] = m_taken;
    m_cost[kSilence] += isVoiced ? kMostCost : 0.0f;
    // Only differences matter; sums of hours would lose them.
    const Stay newest = best();
    const float least = costOf(newest);
    for (float& cost : m_cost) cost -= least;
    return newest;
}

// Where the path that is at `stay` was in a row that is not older than those that wait.
int NoteDecoder::stateAt(std::int64_t row, Stay stay) const {
    while (stay.since > row) {
        const Moves& moves = m_moves[placeOf(stay.since)];
        stay = stay.state == kSilence ? moves.beforeSilence : moves.beforeNotes;
    }
    return stay.state;
}

// Paths that were elsewhere are none any more: what was decided holds.
void NoteDecoder::keepOnly(int state, std::int64_t row) {
    const std::int64_t newest = m_taken - 1;
    const int beforeNotes = stateAt(row, {0, newest});
    for (int s = 0; s <= kSilence; ++s) {
        const std::int64_t since = m_since[static_cast<std::size_t>(s)];
        // Most paths came this row and from one place.
        const int before = since == newest && s != kSilence ? beforeNotes : stateAt(row, {s, since});
        if (before != state) m_cost[static_cast<std::size_t>(s)] = kNever;
    }
}

NotedRow NoteDecoder::decided(int state) {
    const PitchRow& row = m_rows[placeOf(m_decided)];
    ++m_decided;
    return {row, state == kSilence ? kNone : state};
}

std::optional<NotedRow> NoteDecoder::add(const PitchRow& row) {
    const Stay newest = extend(row.frequency);
    m_rows[placeOf(m_taken)] = row;
    ++m_taken;
    if (m_taken - m_decided <= m_lag) return std::nullopt;
    const int state = stateAt(m_decided, newest);
    keepOnly(state, m_decided);
    return decided(state);
}

std::optional<NotedRow> NoteDecoder::finish() {
    if (m_decided == m_taken) {
        *this = NoteDecoder(m_lag);
        return std::nullopt;
    }
    if (!m_last) {
        m_last = best();
        // A note that still sounds ends with the recording.
        if (costOf(*m_last) + kEdgeCost > m_cost[kSilence]) m_last = Stay{kSilence, m_since[kSilence]};
    }
    return decided(stateAt(m_decided, *m_last));
}

std::optional<Note> NoteFinder::take(const NotedRow& decided) {
    const int sounding = m_open ? m_open->number : NoteDecoder::kNone;
    if (decided.note == sounding) return std::nullopt;
    std::optional<Note> ended = std::exchange(m_open, std::nullopt);
    if (ended) ended->end = decided.row.time;
    if (decided.note != NoteDecoder::kNone) m_open = Note{decided.row.time, 0.0, decided.note};
    return ended;
}

std::optional<Note> NoteFinder::add(const PitchRow& row) {
    const std::optional<NotedRow> decided = m_decoder.add(row);
    return decided ? take(*decided) : std::nullopt;
}

std::vector<Note> NoteFinder::finish(double end) {
    std::vector<Note> notes;
    while (const std::optional<NotedRow> decided = m_decoder.finish())
        if (const std::optional<Note> ended = take(*decided)) notes.push_back(*ended);
    if (m_open) notes.push_back({m_open->start, end, m_open->number});
    m_open.reset();
    return notes;
}

std::vector<Note> findNotes(const PitchTrack& track, double end) {
    std::vector<Note> notes;
    NoteFinder finder;
    for (const PitchRow& row : track)
        if (const std::optional<Note> ended = finder.add(row)) notes.push_back(*ended);
    const std::vector<Note> rest = finder.finish(end);
    notes.insert(notes.end(), rest.begin(), rest.end());
    return notes;
}

std::string noteName(int number) {
    constexpr const char* names[] = {"C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"};
    const int octave = static_cast<int>(std::floor(number / 12.0));
    return names[number - 12 * octave] + std::to_string(octave - 1);
}

double noteFrequency(int number) { return 440.0 * std::exp2((number - 69) / 12.0); }

}  // namespace katessel
