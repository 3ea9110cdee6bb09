// Twiddle factors on the fly: exp(i * angle * p) for p = start, start + 1, .. or start, start - 1, ..
//
// Each factor follows from the two before it, w(p + 1) = w(p - 1) + 2i sin(angle) w(p), and after every block of
// points the walk starts afresh from sincosf, so that rounding errors do not pile up.
#pragma once

#include <math.h>

#include "fft/Complex.h"

namespace KaTessel {
namespace {

// With kCubes the walk also gives the third powers.
template <bool kCubes>
class PhaseWalk {
public:
    // anglePerIndex: angle between neighbouring floats of the array, half that between neighbouring points.
    // blockPoints: points between two fresh starts.
    PhaseWalk(float anglePerIndex, int start, int direction, int blockPoints)
        : m_anglePerIndex(anglePerIndex), m_point(start), m_direction(direction), m_blockPoints(blockPoints) {
        m_step = unit(2.0f * anglePerIndex);
        if (direction < 0) m_step = conjugate(m_step);
        if (kCubes) m_stepCubed = m_step * m_step * m_step;
        if (start != 0) m_first = unit(angle());
        startBlock();
    }

    Complex first() const { return m_first; }
    Complex third() const { return m_third; }

    void advance() {
        m_point += m_direction;
        if (--m_left == 0) {
            m_first = unit(angle());
            startBlock();
            return;
        }
        advancePair(m_first, m_nextFirst, 2.0f * m_step.im);
        if (kCubes) advancePair(m_third, m_nextThird, 2.0f * m_stepCubed.im);
    }

private:
    // By value, so that the walk's own state never has its address taken and stays in registers.
    static Complex unit(float angle) {
        float sine, cosine;
        sincosf(angle, &sine, &cosine);
        return {cosine, sine};
    }

    float angle() const { return static_cast<float>(2 * m_point) * m_anglePerIndex; }

    // The rest of the state from m_first.
    void startBlock() {
        m_left = m_blockPoints;
        m_nextFirst = m_first * m_step;
        if (!kCubes) return;
        m_third = m_first * m_first * m_first;
        m_nextThird = m_third * m_stepCubed;
    }

    static void advancePair(Complex& now, Complex& next, float twiceSine) {
        const Complex afterNext = {now.re - twiceSine * next.im, now.im + twiceSine * next.re};
        now = next;
        next = afterNext;
    }

    float m_anglePerIndex;
    int m_point, m_direction, m_blockPoints, m_left = 0;
    Complex m_step{}, m_stepCubed{};
    Complex m_first{1.0f, 0.0f}, m_third{}, m_nextFirst{}, m_nextThird{};
};

}  // namespace
}  // namespace KaTessel
