// The block converter: how clean it is, which samples every block uses, and the filter it is built on.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <iterator>
#include <numbers>
#include <vector>

#include "katessel/CKaResample.h"
#include "resample/ReferenceInterpolation.h"
#include "support/AllocationCounter.h"
#include "support/GuardedBuffer.h"
#include "support/Random.h"

namespace KaTessel::tests {
namespace {

#include "resample/PrototypeTable.inc"

using KaResample::CKaResample;

constexpr int kDelay = 9;     // input samples
constexpr int kHistory = 32;  // input samples that a block keeps of those before

// The converter by definition. Every block starts at a whole position, 16 samples into the history.
class ReferenceConverter {
public:
    std::vector<double> process(const std::vector<float>& block, float ratio, int outputs) {
        m_work.insert(m_work.end(), block.begin(), block.end());
        std::vector<double> out = interpolated(m_bank, m_work, 16.0, static_cast<double>(ratio), outputs);
        m_work.erase(m_work.begin(), m_work.end() - kHistory);
        return out;
    }

private:
    FilterBank m_bank = polyphaseBank({std::begin(kPrototype), std::end(kPrototype)}, 16, 16, 16.0);
    std::vector<float> m_work = std::vector<float>(kHistory);
};

TEST(PlainResamplerFilter, Prototype) {
    for (int k = 0; k < 128; ++k) EXPECT_EQ(kPrototype[k], kPrototype[256 - k]) << k;

    // Flat up to 0.375 of the input rate, closed from 0.575 of it on.
    const auto decibels = [](double cyclesPerInputSample) {
        std::complex<double> sum = 0.0;
        for (int k = 0; k < 257; ++k)
            sum += std::polar(kPrototype[k], 2.0 * std::numbers::pi * cyclesPerInputSample * k / 16.0);
        return 20.0 * std::log10(std::abs(sum));
    };
    for (double f = 0.0; f <= 0.375; f += 0.005) EXPECT_NEAR(decibels(f), 0.0, 0.035) << f;
    for (double f = 0.575; f <= 8.0; f += 0.005) EXPECT_LT(decibels(f), -46.0) << f;
}

// Sines in two blocks, the second compared with the sine 9 input samples earlier. Block lengths consume whole numbers
// of samples, so that the second block starts where the first one ended.
TEST(Resampler, SinesComeOutCleanAndNineSamplesLate) {
    struct Row {
        double frequency;  // of the sine [cycles per input sample]
        float ratio;
        int outputs;
        double signalToError;  // required [dB]
    };
    // The pass band's ripple of 0.001 sets the limit; above it the straight lines between neighbouring phases show.
    const Row table[] = {
        {0.001, 2.0f, 256, 60},    {0.02, 2.0f, 256, 59},    {0.1, 2.0f, 256, 59},      {0.24, 2.0f, 256, 57},
        {0.001, 1.8375f, 240, 66}, {0.02, 1.8375f, 240, 64}, {0.1, 1.8375f, 240, 63.5}, {0.24, 1.8375f, 240, 60},
        {0.02, 1.0f / 3, 300, 63}, {0.1, 1.0f / 3, 300, 62}, {0.24, 1.0f / 3, 300, 57}, {0.36, 1.0f / 3, 300, 52},
        {0.001, 8.0f, 256, 60},    {0.02, 8.0f, 256, 59},    {0.06, 8.0f, 256, 60},
    };
    for (const Row& row : table) {
        CKaResample converter;
        converter.configure(row.outputs);
        const int consumed = CKaResample::consumedSamples(row.ratio, row.outputs);
        const auto sine = [&](double position) {
            return std::sin(2.0 * std::numbers::pi * row.frequency * position + 0.4);
        };
        std::vector<float> out(static_cast<std::size_t>(row.outputs));
        for (int block = 0; block < 2; ++block) {
            std::vector<float> in;
            for (int i = 0; i < consumed; ++i) in.push_back(static_cast<float>(sine(block * consumed + i)));
            EXPECT_EQ(converter.doProcess(in.data(), out.data(), row.ratio, row.outputs), 0);
        }
        double error = 0.0, energy = 0.0;
        for (int k = 0; k < row.outputs; ++k) {
            const double ideal = sine(consumed + k * static_cast<double>(row.ratio) - kDelay);
            const double difference = out[static_cast<std::size_t>(k)] - ideal;
            error += difference * difference;
            energy += ideal * ideal;
        }
        EXPECT_GT(10.0 * std::log10(energy / error), row.signalToError)
            << row.frequency << " cycles per sample, ratio " << row.ratio;
    }
}

// Blocks of every kind, one after the other through one converter: short ones that consume fewer samples than the
// history holds or none at all, lengths that leave a rest, which is dropped, and blocks that hold less or more than
// they consume. Configuring forgets the history. Nothing allocates.
TEST(Resampler, BlocksByTheDefinition) {
    CKaResample converter;
    EXPECT_EQ(converter.configure(300), 0);
    EXPECT_EQ(converter.maxBlock, 300);
    for (float ratio : {2.0f, 1.8375f, 1.0f / 3.0f, 8.0f, 10.0f}) {
        SCOPED_TRACE(testing::Message() << "ratio " << ratio);
        converter.configure(300);
        ReferenceConverter reference;
        int block = 0;
        for (int outputs : {100, 1, 2, 3, 0, 5, 7, 1, 1, 31, 100, 300, 17, 50}) {
            const int consumed = CKaResample::consumedSamples(ratio, outputs);
            EXPECT_EQ(consumed, static_cast<int>(std::floor(outputs * static_cast<double>(ratio) + 0.5)));
            for (int given : {consumed, consumed / 2, 0, consumed + 5000}) {
                std::vector<float> in = Random(static_cast<std::uint64_t>(++block)).values(given);
                FencedInput input(in);
                GuardedBuffer out(outputs);
                const AllocationCounter counter;
                if (given == consumed)
                    EXPECT_EQ(converter.doProcess(input.data(), out.data(), ratio, outputs), 0);
                else
                    EXPECT_EQ(converter.doProcess(input.data(), given, out.data(), ratio, outputs), 0);
                EXPECT_EQ(counter.allocations(), 0);
                ASSERT_TRUE(out.intact());
                in.resize(static_cast<std::size_t>(consumed));
                const std::vector<double> expected = reference.process(in, ratio, outputs);
                // 16 products of the table's floats: a few units in the last place of the input's full scale.
                for (int k = 0; k < outputs; ++k)
                    ASSERT_NEAR(out[k], expected[static_cast<std::size_t>(k)], 6e-7) << block << ", output " << k;
            }
        }
    }
}

}  // namespace
}  // namespace KaTessel::tests
