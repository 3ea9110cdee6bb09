// Arrays that notice who steps over their ends.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <vector>

#include "support/FencedPages.h"

namespace KaTessel::tests {

// An output array between two runs of guard values. The guards are NaNs: reading one spoils a result, writing one
// is found by intact().
class GuardedBuffer {
public:
    // n floats of `fill`; the first one lies `misalignment` floats behind an allocation's start.
    explicit GuardedBuffer(int n, int misalignment = 1, float fill = 0.0f)
        : m_front(kGuards + static_cast<std::size_t>(misalignment)),
          m_size(static_cast<std::size_t>(n)),
          m_memory(m_front + m_size + kGuards, guard()) {
        std::fill_n(data(), n, fill);
    }

    GuardedBuffer(const std::vector<float>& values, int misalignment = 1)
        : GuardedBuffer(static_cast<int>(values.size()), misalignment) {
        for (std::size_t i = 0; i < values.size(); ++i) data()[i] = values[i];
    }

    float* data() { return m_memory.data() + m_front; }
    int size() const { return static_cast<int>(m_size); }
    float operator[](int i) const { return m_memory[m_front + static_cast<std::size_t>(i)]; }

    // Whether nobody wrote before the first or behind the last value.
    bool intact() const {
        for (std::size_t i = 0; i < m_memory.size(); ++i) {
            if (i >= m_front && i < m_front + m_size) continue;
            const float expected = guard();
            if (std::memcmp(&m_memory[i], &expected, sizeof expected) != 0) return false;
        }
        return true;
    }

private:
    static constexpr std::size_t kGuards = 32;  // two of the widest vectors

    static float guard() {
        const std::uint32_t bits = 0x7fc0beefu;
        float value;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }

    std::size_t m_front, m_size;
    std::vector<float> m_memory;
};

// An input array that ends where readable memory ends: one read too many stops the program.
class FencedInput {
public:
    explicit FencedInput(const std::vector<float>& values) : m_pages(values.size() * sizeof(float)) {
        m_data = reinterpret_cast<float*>(m_pages.fence()) - values.size();
        std::copy(values.begin(), values.end(), m_data);
    }

    float* data() { return m_data; }
    const float* data() const { return m_data; }
    float operator[](int i) const { return m_data[i]; }

private:
    FencedPages m_pages;
    float* m_data = nullptr;
};

}  // namespace KaTessel::tests
