// Pointwise convolution in all its input modes, against encodings and products written out.
#include <algorithm>
#include <cmath>
#include <string>
#include <tuple>
#include <vector>

#include "gtest/gtest.h"
#include "katessel/Conv1x1.h"
#include "nn/Networks.h"
#include "support/AllocationCounter.h"
#include "support/CapturedStdout.h"
#include "support/GuardedBuffer.h"

namespace KaTessel::tests {
namespace {

enum class Mode { Plain, OneHot, Interpolated, Coarse, DualBits, DualScaled };

// Entries that one input becomes.
int entriesPerInput(Mode mode, int levels) {
    switch (mode) {
        case Mode::Plain: return 1;
        case Mode::OneHot: return levels + 1;
        case Mode::DualBits: return 512;
        case Mode::DualScaled: return 257;
        default: return levels;
    }
}

double clamped(double x, double lo, double hi) { return x < lo ? lo : x > hi ? hi : x; }

// The vector that the weights multiply.
std::vector<double> encode(const std::vector<float>& in, Mode mode, int levels) {
    const std::size_t n = in.size(), per = static_cast<std::size_t>(entriesPerInput(mode, levels));
    const std::size_t K = static_cast<std::size_t>(levels);
    std::vector<double> out(n * per, 0.0);
    for (std::size_t i = 0; i < n; ++i) {
        const double x = in[i];
        const double place = (x + 1.0) * (levels - 1) / 2.0;
        if (mode == Mode::Plain) {
            out[i] = x;
        } else if (mode == Mode::OneHot) {
            const double level = clamped(std::round(place), 0.0, levels - 1);
            out[i * K + static_cast<std::size_t>(level)] = 1.0;
            out[K * n + i] = x + 1.0 - (levels > 1 ? level * 2.0 / (levels - 1) : 0.0);
        } else if (mode == Mode::Interpolated) {
            const double f = clamped(place, 0.0, levels - 1);
            const std::size_t level = static_cast<std::size_t>(f);
            out[i * K + level] = 1.0 - (f - std::floor(f));
            if (level + 1 < K) out[i * K + level + 1] = f - std::floor(f);
        } else if (mode == Mode::Coarse) {
            for (std::size_t k = 0; k < K; ++k) {
                const double centre = levels > 1 ? static_cast<double>(k) * 2.0 / (levels - 1) - 1.0 : -1.0;
                out[i * K + k] = std::max(0.0, 1.0 - std::abs(x - centre) * (levels - 1) / 2.0);
            }
        } else {
            const int q = static_cast<int>(clamped(std::round((x + 1.0) * 32767.5), 0.0, 65535.0));
            out[i * per + static_cast<std::size_t>(q / 256)] = 1.0;
            if (mode == Mode::DualBits)
                out[i * per + 256 + static_cast<std::size_t>(q % 256)] = 1.0;
            else
                out[i * per + 256] = q % 256 * 2.0 / 255.0 - 1.0;
        }
    }
    return out;
}

// Inputs a little beyond -1 .. 1 that no rounding to a level can turn either way.
std::vector<float> inputs(Random& random, int n, Mode mode, int levels) {
    std::vector<float> in;
    while (static_cast<int>(in.size()) < n) {
        const float x = random.uniform(-1.3f, 1.3f);
        const bool dual = mode == Mode::DualBits || mode == Mode::DualScaled;
        const double place = dual ? (x + 1.0) * 32767.5 : (x + 1.0) * (levels - 1) / 2.0;
        if (std::abs(place - std::floor(place) - 0.5) > 0.02) in.push_back(x);
    }
    return in;
}

struct Case {
    Mode mode;
    int levels, nIn, nOut;
    int inStart = -1, inEnd = -1, rowOffset = -1;
    std::string warning = {};
};

// One layer with and without bias, replacing and adding.
void check(Random& random, const Case& c) {
    const bool interpolated = c.mode == Mode::Interpolated;
    const std::vector<float> in = inputs(random, c.nIn, c.mode, c.levels);
    const std::vector<double> encoded = encode(in, c.mode, c.levels);
    const int n = static_cast<int>(encoded.size());
    const int offset = interpolated ? 0 : std::max(c.rowOffset, 0);
    const bool whole = interpolated || c.rowOffset >= 0;
    const int first = whole || c.inStart < 0 ? 0 : c.inStart, end = whole || c.inEnd < 0 ? n : c.inEnd;
    const std::vector<float> weights = random.values((offset + c.nOut) * n);
    const std::vector<float> bias = random.values(c.nOut), before = random.values(c.nOut);
    FencedInput fin(in), fweights(weights), fbias(bias), fbefore(before);

    const int oneHot = c.mode == Mode::OneHot ? -c.levels : interpolated ? c.levels : 0;
    const int coarse = c.mode == Mode::Coarse ? c.levels : 0;
    const int dual = c.mode == Mode::DualBits ? 1 : c.mode == Mode::DualScaled ? 2 : 0;
    for (int variant = 0; variant < 4; ++variant) {
        const bool withBias = variant & 1, accumulate = variant & 2;
        GuardedBuffer out(before);
        CapturedStdout captured;
        conv1x1(fin.data(), out.data(), fweights.data(), withBias ? fbias.data() : nullptr, c.nIn, c.nOut, c.inStart,
                c.inEnd, accumulate, nullptr, oneHot, coarse, dual, c.rowOffset);
        ASSERT_EQ(captured.text(), c.warning);
        for (int o = 0; o < c.nOut; ++o) {
            double expected = (withBias ? fbias[o] : 0.0f) + (accumulate ? double{fbefore[o]} : 0.0), sizes = 1.0;
            for (int i = first; i < end; ++i) {
                const double product = double{fweights[(offset + o) * n + i]} * encoded[static_cast<std::size_t>(i)];
                expected += product;
                sizes += std::abs(product);
            }
            // Rounding of the sum, and per input that of its place between levels.
            const double tolerance = (end - first + 4) * 6e-8 * sizes + c.nIn * std::max(c.levels, 4) * 2.4e-7;
            ASSERT_NEAR(out[o], expected, tolerance) << "variant " << variant << ", output " << o;
        }
        ASSERT_TRUE(out.intact());
    }
}

const char* const kCoarseWarning = "WARNING: coarse_encode_layer_inputs buffer not large enough\n";

TEST(Conv1x1, AllModesMatchTheirDefinition) {
    const Case cases[] = {
        {Mode::Plain, 0, 150, 70},
        {Mode::Plain, 0, 0, 3},
        {Mode::Plain, 0, 5, 0},
        {Mode::Plain, 0, 6, 3, 2, 4},
        {Mode::Plain, 0, 37, 9, 5, -1},
        {Mode::Plain, 0, 37, 9, 20, 10},  // an empty range: bias alone
        {Mode::Plain, 0, 7, 5, -1, -1, 0},
        {Mode::Plain, 0, 7, 2, 2, 4, 3},  // with a row offset the range is not used
        {Mode::OneHot, 1, 5, 4},
        {Mode::OneHot, 4, 6, 3, -1, -1, 2},
        {Mode::Interpolated, 1, 3, 4},
        {Mode::Interpolated, 256, 6, 5},
        {Mode::Interpolated, 5, 3, 4, 1, 2, 3},  // neither range nor row offset apply
        {Mode::Coarse, 1, 3, 4},
        {Mode::Coarse, 700, 30, 2},  // more levels than usual, no more inputs
        {Mode::Coarse, 7, 4, 3, 5, 20},
        {Mode::DualBits, 0, 30, 2},
        {Mode::DualScaled, 0, 2, 3, -1, -1, 2},
        // Beyond the usual limits.
        {Mode::OneHot, 15, 257, 3, -1, -1, -1, "WARNING: one_hot_encoding buffer not large enough\n"},
        {Mode::Interpolated, 3, 129, 3, -1, -1, -1, "WARNING: one_hot_encoding idx buffer not large enough\n"},
        {Mode::Coarse, 600, 31, 3, -1, -1, -1, kCoarseWarning},
        {Mode::DualScaled, 0, 70, 3, -1, -1, -1, kCoarseWarning},
        // Shorter encodings after longer ones find no leftovers.
        {Mode::OneHot, 5, 4, 3},
        {Mode::Coarse, 5, 4, 3},
    };
    Random random(41);
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(testing::Message() << "case " << i);
        check(random, cases[i]);
        if (HasFatalFailure()) return;
    }
}

// Dual goes before coarse, that before one-hot; negative values ask for nothing. Half a level rounds away from zero.
TEST(Conv1x1, TheOrderOfTheModes) {
    const float fixedPoint = static_cast<float>((0x4d2f + 0.4) / 32767.5 - 1.0);  // bytes 0x4d and 0x2f
    struct Row {
        float x;
        int oneHot, coarse, dual;
        double expected;
    };
    std::vector<float> weights;
    for (int i = 0; i < 512; ++i) weights.push_back(static_cast<float>(i));
    for (const Row& row : {Row{fixedPoint, 4, 6, 1, 0x4d + 256 + 0x2f},
                           {1.25f, -3, 5, 0, 0.5 * 4},
                           {1.7f, 5, -5, -1, 4.0},
                           {-0.5f, -3, 0, 0, 1.0 - 3.0 * 0.5}}) {
        float x = row.x, out = 0.0f;
        for (const bool madeScratch : {false, true}) {
            const AllocationCounter counter;
            conv1x1(&x, &out, weights.data(), nullptr, 1, 1, -1, -1, false, nullptr, row.oneHot, row.coarse, row.dual,
                    -1);
            EXPECT_TRUE(!madeScratch || counter.allocations() == 0);
        }
        EXPECT_NEAR(out, row.expected, 1e-4) << row.x << ", " << row.oneHot << ", " << row.coarse << ", " << row.dual;
    }
}

// A mask is refused after the encoding, an unknown mode after a look at the inputs, with whatever these have to say.
TEST(Conv1x1, UnimplementedRequestsPrintAndWriteNothing) {
    const std::string masked = "ERROR: not implemented\n", unknown = "not implemented dual_8bit_input mode\n";
    struct Row {
        bool mask;
        int nIn, oneHot, dual;
        std::string text;
    };
    for (const Row& row : {Row{true, 3, 0, 0, masked},
                           {true, 3, 1366, 0, "WARNING: one_hot_encoding buffer not large enough\n" + masked},
                           {false, 30, 0, 3, unknown},
                           {false, 31, 0, 3, kCoarseWarning + unknown}}) {
        bool mask = true;
        float out = 7.0f;
        std::vector<float> in(31, 0.1f);
        CapturedStdout captured;
        conv1x1(in.data(), &out, nullptr, nullptr, row.nIn, 1, -1, -1, false, row.mask ? &mask : nullptr, row.oneHot, 0,
                row.dual, -1);
        EXPECT_EQ(captured.text(), row.text);
        EXPECT_EQ(out, 7.0f);
    }
}

TEST(Conv1x1, SequencesLoadTheirLayer) {
    Random random(45);
    const NaiveKernel kernel = randomKernel(random, 1, 5, 3, true);
    const TemporaryFolder folder;
    const std::string path = folder.file("weights");
    WeightFileWriter().add("layer", kernel.tensors()).save(path);
    const Frames in = randomFrames(random, 4, 5);
    Frames out;
    const auto run = [&](const char* layer, bool accumulate, int oneHot, int coarse, int rowOffset) {
        CapturedStdout captured;
        conv1x1(in, out, path, layer, 5, 3, -1, -1, accumulate, nullptr, oneHot, coarse, 0, rowOffset);
        return captured.text();
    };
    // Frames that are there keep their size, missing ones are made, surplus ones removed.
    for (std::size_t had : {0u, 2u, 6u}) {
        Signal expected;
        for (int t = 0; t < 4; ++t) {
            expected.push_back(convolveAt(signalOf(in), t, kernel, 1));
            if (static_cast<std::size_t>(t) >= had) continue;
            for (double& v : expected.back()) v += 2.0;
            expected.back().push_back(2.0);
        }
        out.assign(had, std::vector<float>(4, 2.0f));
        EXPECT_EQ(run("layer", true, 0, 0, -1), "");
        expectFrames(out, expected, 2e-6, std::to_string(had) + " frames before");
    }
    // More levels or other rows would need more weights than this form loads. On a single level every input counts as
    // one: interpolated wherever it is asked to begin.
    const Frames before(4, std::vector<float>(3, 5.0f));
    for (const auto& [oneHot, coarse, rowOffset, computes] : {std::tuple(2, 0, -1, false),
                                                              {-1, 0, -1, false},
                                                              {0, 3, -1, false},
                                                              {0, 0, 1, false},
                                                              {0, 1, 1, false},
                                                              {1, 2, -1, false},
                                                              {1, 0, -1, true},
                                                              {1, 0, 1, true},
                                                              {0, 1, -1, true},
                                                              {2, 1, 0, true}}) {
        SCOPED_TRACE(testing::Message() << oneHot << ", " << coarse << ", " << rowOffset);
        out = before;
        EXPECT_EQ(run("layer", false, oneHot, coarse, rowOffset), computes ? "" : "ERROR: not implemented\n");
        const Frame ones = convolveAt({Frame(5, 1.0)}, 0, kernel, 1);
        expectFrames(out, computes ? Signal(4, ones) : signalOf(before), 2e-6, "after the call");
    }
    out = before;
    EXPECT_EQ(run("absent", false, 0, 0, -1), "WARNING: absent not loaded!\n");
    EXPECT_EQ(out, Frames(4, std::vector<float>(3, 0.0f)));
}

}  // namespace
}  // namespace KaTessel::tests
