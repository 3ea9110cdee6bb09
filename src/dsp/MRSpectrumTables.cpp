// Tables for applications; the analysis does not read them.
#include <math.h>

#include "katessel/MRSpectrum.h"

namespace KaTessel {

void MRSpectrum::InitTables() {
    constexpr float kHalfTurn = 3.14159265f;
    for (int s = 0; s < 18; ++s) {
        const int n = 1 << s;
        m_powersOfTwo[s] = n;
        m_sineTables[s].resize(static_cast<std::size_t>(n) + 1);
        m_cosineTables[s].resize(static_cast<std::size_t>(n) + 1);
        for (int k = 0; k <= n; ++k) {
            const float angle = static_cast<float>(k) * kHalfTurn / static_cast<float>(n);
            m_sineTables[s][static_cast<std::size_t>(k)] = k == 0 ? 0.0 : sinf(angle);
            m_cosineTables[s][static_cast<std::size_t>(k)] = cosf(angle);
        }
    }
}

}  // namespace KaTessel
