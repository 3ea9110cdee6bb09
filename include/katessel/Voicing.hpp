// Which rows of a pitch track count as voiced: a decision that does not flicker. Header-only, C++17.
//
//     KaTessel::VoicingFilter<KaTessel::Pitch> voicing({threshold, KaTessel::Voicing::hysteresis});
//     tracker.process(block, [&](const KaTessel::Pitch& pitch) {
//         voicing.add(pitch, pitch.confidence, [](const KaTessel::Pitch& row, bool voiced) { show(row, voiced); });
//     });
#ifndef KATESSEL_VOICING_HPP
#define KATESSEL_VOICING_HPP

#include <algorithm>

#include "katessel/Pitch.hpp"

namespace KaTessel {
inline namespace v1 {

enum class Voicing {
    frame,       // every row by itself, at the threshold
    hysteresis,  // a margin above the threshold to begin, a margin below it to end; needs no later row
    smooth       // the same on the median of each confidence and its neighbours'; waits for one row, 5 ms
};

inline constexpr const char* kVoicingNames[] = {"frame", "hysteresis", "smooth"};

// Where none is asked for: of whole recordings smooth, live the one that waits for nothing.
inline Voicing usualVoicing(Form form) { return form == Form::live ? Voicing::hysteresis : Voicing::smooth; }

struct VoicingRule {
    double threshold;  // modelThreshold() of ModelCard.hpp tells which one suits a model
    Voicing voicing;

    VoicingRule(double level, Voicing decision = Voicing::frame) : threshold(level), voicing(decision) {}

    // Between the threshold and those to begin and to end. Towards 0 and 1 it shrinks: at threshold 0 every row is voiced
    // and at 1 those that are certain, whatever the rule.
    double margin() const {
        constexpr double kMost = 0.1;
        if (voicing == Voicing::frame) return 0.0;
        return std::clamp(0.5 * std::min(threshold, 1.0 - threshold), 0.0, kMost);
    }

    int delay() const { return voicing == Voicing::smooth ? 1 : 0; }  // [rows] that a decision waits for
};

// Takes the rows of one sound in their order and gives each back, once, with its decision.
template <class Row>
class VoicingFilter {
public:
    explicit VoicingFilter(VoicingRule rule) : m_rule(rule) {}

    // Calls decided(const Row&, bool voiced) for every row that can be decided now: this one, or the one before.
    template <class Decided>
    void add(const Row& row, float confidence, Decided&& decided) {
        if (m_rule.delay() == 0) return decide(row, confidence, decided);
        if (m_isWaiting) decide(m_waiting, median(m_before, m_current, confidence), decided);
        m_before = m_isWaiting ? m_current : confidence;
        m_current = confidence;
        m_waiting = row;
        m_isWaiting = true;
    }

    // The sound has ended: decides what still waits. The filter is then as new.
    template <class Decided>
    void finish(Decided&& decided) {
        if (m_isWaiting) decide(m_waiting, m_current, decided);
        *this = VoicingFilter(m_rule);
    }

private:
    static float median(float a, float b, float c) { return std::max(std::min(a, b), std::min(std::max(a, b), c)); }

    template <class Decided>
    void decide(const Row& row, float confidence, Decided&& decided) {
        const double margin = m_rule.margin();
        m_isVoiced = confidence >= m_rule.threshold + (m_isVoiced ? -margin : margin);
        decided(row, m_isVoiced);
    }

    VoicingRule m_rule;
    Row m_waiting = Row();
    float m_before = 0.0f, m_current = 0.0f;  // confidences of the row before the waiting one, and its own
    bool m_isWaiting = false, m_isVoiced = false;
};

}  // namespace v1
}  // namespace KaTessel

#endif
