// Arrays of zeros that begin at a 64-byte boundary, as the widest vectors want them.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>

namespace KaTessel {

class AlignedFloats {
public:
    AlignedFloats() = default;
    explicit AlignedFloats(std::size_t n) : m_data(static_cast<float*>(::operator new[](n * sizeof(float), kAt))) {
        std::fill_n(m_data.get(), n, 0.0f);
    }
    float* data() { return m_data.get(); }
    const float* data() const { return m_data.get(); }

private:
    static constexpr std::align_val_t kAt{64};
    struct Release {
        void operator()(float* p) const { ::operator delete[](p, kAt); }
    };
    std::unique_ptr<float[], Release> m_data;
};

}  // namespace KaTessel
