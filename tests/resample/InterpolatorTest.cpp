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
    // Sums of up to 17 products below 0.1 * 16 in float: some units in the last place of the largest partial sum.
    for (int k = 0; k < count; ++k) ASSERT_NEAR(out[k], expected[static_cast<std::size_t>(k)], 2e-6) << "output " << k;
}

TEST(PlainInterpolatorTable, HoldsThePhasesOfThePrototype) {
    Interpolator interpolator;
    struct Row {
        int taps, phases;
        double gain;
    };
    for (const Row& row : {Row{16, 16, 16.0}, {16, 16, 0.0}, {8, 16, 0.5}, {3, 5, 0.0}, {1, 1, 2.0}, {5, 1, 0.0}}) {
        SCOPED_TRACE(testing::Message() << row.taps << " taps, " << row.phases << " phases, gain " << row.gain);
        const std::vector<double> prototype = asymmetricPrototype(row.taps, row.phases);
        const double gain = row.gain == 0.0 ? row.phases : row.gain;

        interpolator.setFIR(prototype.data() + 1, row.taps, row.phases, true, row.gain);
        EXPECT_EQ(interpolator.taps, row.taps);
        EXPECT_EQ(interpolator.phases, row.phases);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(interpolator.table) % 16, 0u);
        const FilterBank bank = polyphaseBank(prototype, row.taps, row.phases, gain);
        for (std::size_t i = 0; i < bank.rows.size(); ++i)
            ASSERT_EQ(interpolator.table[i], static_cast<float>(bank.rows[i])) << i;

        interpolator.setFIR(prototype.data() + 1, row.taps, row.phases, false, row.gain);
        for (int i = 0; i < row.taps * row.phases; ++i)
            ASSERT_EQ(interpolator.table[i], static_cast<float>(prototype.at(static_cast<std::size_t>(i) + 1) * gain))
                << i;
    }
}

TEST(Interpolator, RendersByTheDefinition) {
    for (int taps : {1, 2, 3, 4, 5, 7, 8, 12, 15, 16, 17}) {
        for (int phases : {1, 3, 16}) {
            SCOPED_TRACE(testing::Message() << taps << " taps, " << phases << " phases");
            const std::vector<double> prototype = asymmetricPrototype(taps, phases);
            Interpolator interpolator;
            interpolator.setFIR(prototype.data() + 1, taps, phases, true, 1.0);
            const FilterBank bank = polyphaseBank(prototype, taps, phases, 1.0);
            for (double step : {2.0, 1.8375, 1.0 / 3.0, 8.0, 0.01})
                expectRendering(interpolator, &Interpolator::render1, bank, 2.0 + 0.37 * (step < 8.0), step, 101);
            expectRendering(interpolator, &Interpolator::render1, bank, 3.25, 1.0, 1);
            expectRendering(interpolator, &Interpolator::render1, bank, 3.25, 1.0, 0);
        }
    }
}

TEST(Interpolator, RenderersForFixedShapes) {
    struct Row {
        const char* name;
        Renderer renderer;
        int taps;
    };
    for (const Row& row : {Row{"render1simd", &Interpolator::render1simd, 16},
                           {"render1simd", &Interpolator::render1simd, 8},
                           {"sse16x16", &Interpolator::sse16x16, 16},
                           {"sse8x16", &Interpolator::sse8x16, 8}}) {
        SCOPED_TRACE(testing::Message() << row.name << ", " << row.taps << " taps");
        const std::vector<double> prototype = asymmetricPrototype(row.taps, 16);
        Interpolator interpolator;
        interpolator.setFIR(prototype.data() + 1, row.taps, 16, true, 1.0);
        const FilterBank bank = polyphaseBank(prototype, row.taps, 16, 1.0);
        for (double step : {2.0, 1.8375, 1.0 / 3.0, 0.01})
            expectRendering(interpolator, row.renderer, bank, 1.37, step, 101);
    }
    // A straight line is a filter of two taps in one phase.
    Interpolator interpolator;
    const FilterBank line{2, 1, {1.0, 0.0, 0.0, 1.0}};
    for (double step : {1.8375, 0.25}) expectRendering(interpolator, &Interpolator::linear, line, 1.37, step, 101);
}

TEST(Interpolator, WithoutTapsThereIsSilence) {
    Interpolator interpolator;
    const double unused[2] = {1.0, 1.0};
    interpolator.setFIR(unused + 1, 0, 1, true, 1.0);
    const std::vector<float> in(8, 1.0f);
    GuardedBuffer out(4, 1, 77.0f);
    EXPECT_EQ(interpolator.render1(in.data(), 0.5, 1.5, out.data(), 4), 6.5);
    for (int k = 0; k < 4; ++k) EXPECT_EQ(out[k], 0.0f) << k;
}

}  // namespace
}  // namespace KaTessel::tests
