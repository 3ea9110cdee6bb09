#include "apps/live/LiveDisplay.h"

#include <cmath>
#include <cstdio>

namespace katessel {

namespace {

constexpr int kHalfScale = 20;  // characters on either side of the middle

std::string noteName(int semitones) {  // above A4
    constexpr const char* names[] = {"C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"};
    const int key = semitones + 9 + 48;  // above C0
    const int octave = static_cast<int>(std::floor(key / 12.0));
    return names[key - 12 * octave] + std::to_string(octave);
}

}  // namespace

std::string displayLine(const PitchRow& row) {
    std::string scale(2 * kHalfScale + 1, '.');
    scale[kHalfScale] = '|';
    char note[48] = "", frequency[24] = "";
    if (row.frequency > 0.0f) {
        const double cents = centsAbove440(row.frequency);
        const int semitones = static_cast<int>(std::lround(cents / 100.0));
        const double off = cents - 100.0 * semitones;
        scale[static_cast<std::size_t>(kHalfScale + std::lround(off / 50.0 * kHalfScale))] = '#';
        std::snprintf(note, sizeof note, "%-4s%+4.0f cents", noteName(semitones).c_str(), off);
        std::snprintf(frequency, sizeof frequency, "%.2f Hz", static_cast<double>(row.frequency));
    }
    char line[128];
    std::snprintf(line, sizeof line, "%-14s [%s] %11s  confidence %4.2f", note, scale.c_str(), frequency,
                  static_cast<double>(row.confidence));
    return line;
}

}  // namespace katessel
