// The polyphase FIR: its table, and every renderer against the definition.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "katessel/Interpolator.h"
#include "resample/ReferenceInterpolation.h"
#include "support/GuardedBuffer.h"
#include "support/Random.h"

namespace KaTessel::tests {
namespace {

using KaResample::Interpolator;
using Renderer = double (Interpolator::*)(float const*, double, double, float*, int);

// taps * phases + 1 coefficients without any symmetry, so that no swapped index can pass.
std::vector<double> asymmetricPrototype(int taps, int phases) {
    std::vector<double> c;
    for (float x : Random(static_cast<std::uint64_t>(100 * taps + phases)).values(taps * phases + 1, -0.1f, 0.1f))
        c.push_back(static_cast<double>(x) + 1e-10);
    return c;
}

// Positions pos, pos + step, .. read exactly the samples of `in`.
void expectRendering(Interpolator& interpolator, Renderer renderer, const FilterBank& bank, double pos, double step,
                     int count) {
    double end = pos;
    for (int k = 0; k < count; ++k) end += step;
    const int samples = count > 0 ? static_cast<int>(end - step) + bank.taps : 0;
    const std::vector<float> in = Random(static_cast<std::uint64_t>(samples)).values(samples);
    FencedInput input(in);
    GuardedBuffer out(count);
    EXPECT_EQ((interpolator.*renderer)(input.data(), pos, step, out.data(), count), end);
    EXPECT_TRUE(out.intact());
    const std::vector<double> expected = interpolated(bank, in, pos, step, count);
    // Sums of up to 37 products below 0.1 in float: some units in the last place of the largest partial sum.
    for (int k = 0; k < count; ++k) ASSERT_NEAR(out[k], expected[static_cast<std::size_t>(k)], 2e-6) << "output " << k;
}

TEST(PlainInterpolatorTable, HoldsThePhasesOfThePrototype) {
    Interpolator interpolator;
    const std::vector<double> prototype = asymmetricPrototype(3, 5);
    for (double gain : {0.5, 0.0}) {  // 0 stands for the number of phases
        const FilterBank bank = polyphaseBank(prototype, 3, 5, gain == 0.0 ? 5.0 : gain);
        interpolator.setFIR(prototype.data() + 1, 3, 5, true, gain);
        EXPECT_EQ(interpolator.taps, 3);
        EXPECT_EQ(interpolator.phases, 5);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(interpolator.table) % 16, 0u);
        for (std::size_t i = 0; i < 18; ++i) EXPECT_EQ(interpolator.table[i], static_cast<float>(bank.rows[i])) << i;
    }
    interpolator.setFIR(prototype.data() + 1, 3, 5, false, 2.0);
    for (std::size_t i = 0; i < 15; ++i)
        EXPECT_EQ(interpolator.table[i], static_cast<float>(prototype[i + 1] * 2.0)) << i;
}

TEST(Interpolator, RendersByTheDefinition) {
    struct Row {
        Renderer renderer;
        int taps, phases;
    };
    std::vector<Row> rows = {{&Interpolator::render1simd, 16, 16},
                             {&Interpolator::render1simd, 8, 16},
                             {&Interpolator::sse16x16, 16, 16},
                             {&Interpolator::sse8x16, 8, 16}};
    for (int taps : {1, 2, 3, 4, 5, 7, 8, 15, 16, 17, 37})
        for (int phases : {1, 3, 16}) rows.push_back({&Interpolator::render1, taps, phases});
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.taps << " taps, " << row.phases << " phases, row " << &row - &rows[0]);
        const std::vector<double> prototype = asymmetricPrototype(row.taps, row.phases);
        Interpolator interpolator;
        interpolator.setFIR(prototype.data() + 1, row.taps, row.phases, true, 1.0);
        const FilterBank bank = polyphaseBank(prototype, row.taps, row.phases, 1.0);
        for (double step : {2.0, 1.8375, 1.0 / 3.0, 8.0, 0.01})
            for (int count : {0, 1, 101}) expectRendering(interpolator, row.renderer, bank, 2.37, step, count);
    }
    // A straight line is a filter of two taps in one phase.
    Interpolator interpolator;
    const FilterBank line{2, 1, {1.0, 0.0, 0.0, 1.0}};
    for (double step : {1.8375, 0.25}) expectRendering(interpolator, &Interpolator::linear, line, 1.37, step, 101);
}

}  // namespace
}  // namespace KaTessel::tests
