// The polyphase FIR over a dot product, and how its positions advance, for the variants of the kernel to share.
#pragma once

namespace KaTessel::kernels {
namespace {  // as in the transform: every variant compiles its own copy

// Positions `step` apart in double precision.
struct SteppedPositions {
    int whole() const { return static_cast<int>(pos); }
    double between() const { return pos - whole(); }  // 0 .. 1, behind whole()
    void advance() { pos += step; }
    double pos, step;
};

// Positions part / parts, (part + step) / parts, ..: each is what it is wherever the run began.
class CountedPositions {
public:
    CountedPositions(int part, int step, int parts)
        : m_parts(parts),
          m_whole(part / parts),
          m_part(part % parts),
          m_wholeStep(step / parts),
          m_partStep(step % parts) {}
    int whole() const { return m_whole; }
    double between() const { return static_cast<double>(m_part) / m_parts; }
    void advance() {
        m_whole += m_wholeStep;
        m_part += m_partStep;
        if (m_part < m_parts) return;
        m_part -= m_parts;
        ++m_whole;
    }

private:
    int m_parts, m_whole, m_part, m_wholeStep, m_partStep;
};

// What Kernels::polyphase says, with dot(a, b, n) for the products. Leaves `at` behind the last output.
template <typename Dot, typename Positions>
inline void polyphaseBy(Dot dot, float* out, int count, const float* in, Positions& at, const float* table, int taps,
                        int phases) {
    for (int k = 0; k < count; ++k, at.advance()) {
        const int whole = at.whole();
        const double phase = at.between() * phases;
        const int row = static_cast<int>(phase);
        const float rest = static_cast<float>(phase - row);
        const float a = dot(in + whole, table + row * taps, taps);
        const float b = dot(in + whole, table + (row + 1) * taps, taps);
        out[k] = a + (b - a) * rest;
    }
}

}  // namespace
}  // namespace KaTessel::kernels
