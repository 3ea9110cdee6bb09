// Twiddle factors on the fly: exp(i * angle * p) for p = start, start + 1, .. or start, start - 1, ..
//
// Each factor follows from the two before it, w(p + 1) = w(p - 1) + 2i sin(angle) w(p), and after every block of
// points the walk starts afresh from sincosf, so that rounding errors do not pile up.
#pragma once

#include <math.h>

#include "dsp/Complex.h"

namespace KaTessel {

class PhaseWalk {
public:
    // anglePerIndex: angle between neighbouring floats of the array, half that between neighbouring points.
    // blockPoints: points between two fresh starts.
    PhaseWalk(float anglePerIndex, int start, int direction, int blockPoints)
        : m_anglePerIndex(anglePerIndex), m_point(start), m_direction(direction), m_blockPoints(blockPoints) {
        sincosf(2.0f * anglePerIndex, &m_step.im, &m_step.re);
        if (direction < 0) m_step = conjugate(m_step);
        m_stepCubed = m_step * m_step * m_step;
        startAfresh();
    }

    Complex first() const { return m_first; }
    Complex third() const { return m_third; }  // its third power

    void advance() {
        m_point += m_direction;
        if (--m_left == 0) {
            startAfresh();
            return;
        }
        advancePair(m_first, m_nextFirst, 2.0f * m_step.im);
        advancePair(m_third, m_nextThird, 2.0f * m_stepCubed.im);
    }

private:
    void startAfresh() {
        m_left = m_blockPoints;
        sincosf(static_cast<float>(2 * m_point) * m_anglePerIndex, &m_first.im, &m_first.re);
        m_third = m_first * m_first * m_first;
        m_nextFirst = m_first * m_step;
        m_nextThird = m_third * m_stepCubed;
    }

    static void advancePair(Complex& now, Complex& next, float twiceSine) {
        const Complex afterNext = {now.re - twiceSine * next.im, now.im + twiceSine * next.re};
        now = next;
        next = afterNext;
    }

    float m_anglePerIndex;
    int m_point, m_direction, m_blockPoints, m_left = 0;
    Complex m_step, m_stepCubed;
    Complex m_first, m_third, m_nextFirst, m_nextThird;
};

}  // namespace KaTessel
