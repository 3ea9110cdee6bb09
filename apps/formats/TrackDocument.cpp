#include "apps/formats/TrackDocument.h"

#include <limits>

namespace katessel {

const char* pitchColumn(PitchUnit unit) {
    switch (unit) {
        case PitchUnit::cents: return "cents";
        case PitchUnit::midi: return "midi";
        default: return "frequency";
    }
}

double pitchOf(const PitchRow& row, const TrackDocument& document) {
    if (row.frequency <= 0.0f)
        return document.unvoiced == UnvoicedRows::zero ? 0.0 : std::numeric_limits<double>::quiet_NaN();
    switch (document.unit) {
        case PitchUnit::cents: return centsAbove440(row.frequency);
        case PitchUnit::midi: return midiNote(row.frequency);
        default: return static_cast<double>(row.frequency);
    }
}

}  // namespace katessel
