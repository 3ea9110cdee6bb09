// The polyphase FIR by its definition, in double precision.
#pragma once

#include <cstddef>
#include <vector>

namespace KaTessel::tests {

// Coefficients of one FIR: row p, tap j at p * taps + j.
struct FilterBank {
    int taps, phases;
    std::vector<double> rows;

    double row(int p, int j) const { return rows[static_cast<std::size_t>(p * taps + j)]; }
};

// Row p, tap j is c[j * phases + phases - 1 - p] * gain, where c[-1] is the first of `prototype`.
inline FilterBank polyphaseBank(const std::vector<double>& prototype, int taps, int phases, double gain) {
    FilterBank bank{taps, phases, {}};
    for (int p = 0; p <= phases; ++p)
        for (int j = 0; j < taps; ++j)
            bank.rows.push_back(prototype[static_cast<std::size_t>(j * phases + phases - p)] * gain);
    return bank;
}

// The outputs at pos, pos + step, ..: both neighbouring phases, mixed by the distance from each.
inline std::vector<double> interpolated(const FilterBank& bank, const std::vector<float>& in, double pos, double step,
                                        int count) {
    std::vector<double> out;
    for (int k = 0; k < count; ++k, pos += step) {
        const int first = static_cast<int>(pos);
        const double phase = (pos - first) * bank.phases;
        const int p = static_cast<int>(phase);
        double sum = 0.0;
        for (int j = 0; j < bank.taps; ++j)
            sum += static_cast<double>(in.at(static_cast<std::size_t>(first + j))) *
                   (bank.row(p, j) * (p + 1 - phase) + bank.row(p + 1, j) * (phase - p));
        out.push_back(sum);
    }
    return out;
}

}  // namespace KaTessel::tests
