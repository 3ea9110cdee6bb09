// Pointwise convolution in all its input modes, against encodings and products written out.
#include <algorithm>
#include <cmath>
#include <string>
#include <thread>
#include <vector>

#include "gtest/gtest.h"
#include "katessel/Conv1x1.h"
#include "support/AllocationCounter.h"
#include "support/CapturedStdout.h"
#include "support/GuardedBuffer.h"
#include "support/NaiveLayers.h"
#include "support/Random.h"
#include "support/TemporaryFolder.h"

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

std::string describe(const Case& c) {
    return "mode " + std::to_string(static_cast<int>(c.mode)) + ", levels " + std::to_string(c.levels) + ", " +
           std::to_string(c.nIn) + " to " + std::to_string(c.nOut) + ", range " + std::to_string(c.inStart) + " .. " +
           std::to_string(c.inEnd) + ", row offset " + std::to_string(c.rowOffset);
}

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
    FencedInput fin(in), fweights(weights), fbias(bias);

    const int oneHot = c.mode == Mode::OneHot ? -c.levels : interpolated ? c.levels : 0;
    const int coarse = c.mode == Mode::Coarse ? c.levels : 0;
    const int dual = c.mode == Mode::DualBits ? 1 : c.mode == Mode::DualScaled ? 2 : 0;
    for (int variant = 0; variant < 4; ++variant) {
        const bool withBias = variant & 1, accumulate = variant & 2;
        GuardedBuffer out(before);
        CapturedStdout captured;
        conv1x1(fin.data(), out.data(), fweights.data(), withBias ? fbias.data() : nullptr, c.nIn, c.nOut, c.inStart,
                c.inEnd, accumulate, nullptr, oneHot, coarse, dual, c.rowOffset);
        ASSERT_EQ(captured.text(), c.warning) << describe(c);
        for (int o = 0; o < c.nOut; ++o) {
            double expected = (withBias ? bias[o] : 0.0) + (accumulate ? before[o] : 0.0), sizes = 1.0;
            for (int i = first; i < end; ++i) {
                const double product = static_cast<double>(weights[(offset + o) * n + i]) * encoded[i];
                expected += product;
                sizes += std::abs(product);
            }
            // Rounding of the sum, and per input that of its place between levels.
            const double tolerance = (end - first + 4) * 6e-8 * sizes + c.nIn * std::max(c.levels, 4) * 2.4e-7;
            ASSERT_NEAR(out[o], expected, tolerance) << describe(c) << ", variant " << variant << ", output " << o;
        }
        ASSERT_TRUE(out.intact()) << describe(c);
    }
}

const char* const kOneHotWarning = "WARNING: one_hot_encoding buffer not large enough\n";
const char* const kInterpolationWarning = "WARNING: one_hot_encoding idx buffer not large enough\n";
const char* const kCoarseWarning = "WARNING: coarse_encode_layer_inputs buffer not large enough\n";

TEST(Conv1x1, AllModesMatchTheirDefinition) {
    const Case cases[] = {
        {Mode::Plain, 0, 70, 120},
        {Mode::Plain, 0, 1, 1},
        {Mode::Plain, 0, 150, 70},
        {Mode::Plain, 0, 0, 3},
        {Mode::Plain, 0, 5, 0},
        {Mode::Plain, 0, 6, 3, 2, 4},
        {Mode::Plain, 0, 37, 9, 5, -1},
        {Mode::Plain, 0, 37, 9, -7, 30},
        {Mode::Plain, 0, 37, 9, 12, 12},  // an empty range: bias alone
        {Mode::Plain, 0, 37, 9, 20, 10},
        {Mode::Plain, 0, 7, 2, -1, -1, 3},
        {Mode::Plain, 0, 7, 5, -1, -1, 0},
        {Mode::Plain, 0, 7, 2, 2, 4, 3},  // with a row offset the range is not used
        {Mode::OneHot, 3, 5, 4},
        {Mode::OneHot, 1, 5, 4},
        {Mode::OneHot, 2, 1, 1},
        {Mode::OneHot, 256, 4, 7},
        {Mode::OneHot, 4, 6, 3, 9, 27},
        {Mode::OneHot, 4, 6, 3, -1, -1, 2},
        {Mode::Interpolated, 5, 3, 4},
        {Mode::Interpolated, 1, 3, 4},
        {Mode::Interpolated, 2, 9, 1},
        {Mode::Interpolated, 256, 6, 5},
        {Mode::Interpolated, 5, 3, 4, 1, 2, 3},  // neither range nor row offset apply
        {Mode::Coarse, 5, 3, 4},
        {Mode::Coarse, 1, 3, 4},
        {Mode::Coarse, 2, 9, 1},
        {Mode::Coarse, 512, 30, 2},
        {Mode::Coarse, 700, 30, 2},  // more levels than usual, no more inputs
        {Mode::Coarse, 7, 4, 3, 5, 20},
        {Mode::Coarse, 7, 4, 3, -1, -1, 1},
        {Mode::DualBits, 0, 3, 4},
        {Mode::DualBits, 0, 30, 2},
        {Mode::DualBits, 0, 2, 3, 100, 700},
        {Mode::DualBits, 0, 2, 3, -1, -1, 2},
        {Mode::DualScaled, 0, 3, 4},
        {Mode::DualScaled, 0, 30, 2},
        {Mode::DualScaled, 0, 2, 3, 100, 514},
        {Mode::DualScaled, 0, 2, 3, -1, -1, 2},
        // Up to the usual limits and beyond.
        {Mode::OneHot, 15, 256, 3},
        {Mode::OneHot, 15, 257, 3, -1, -1, -1, kOneHotWarning},
        {Mode::Interpolated, 3, 128, 3},
        {Mode::Interpolated, 3, 129, 3, -1, -1, -1, kInterpolationWarning},
        {Mode::Interpolated, 3, 9000, 1, -1, -1, -1, kInterpolationWarning},
        {Mode::Coarse, 600, 31, 3, -1, -1, -1, kCoarseWarning},
        {Mode::DualBits, 0, 31, 3, -1, -1, -1, kCoarseWarning},
        {Mode::DualScaled, 0, 70, 3, -1, -1, -1, kCoarseWarning},
        // Shorter encodings after longer ones find no leftovers.
        {Mode::OneHot, 5, 4, 3},
        {Mode::Coarse, 5, 4, 3},
        {Mode::DualBits, 0, 2, 3},
        {Mode::DualScaled, 0, 2, 3},
    };
    Random random(41);
    for (const Case& c : cases) {
        check(random, c);
        if (HasFatalFailure()) return;
    }
}

// Values worked out by hand.
TEST(Conv1x1, WorkedExamples) {
    float weights[15] = {0, 1, 2, 3, 4, 10, 11, 12, 13, 14, 20, 21, 22, 23, 24};
    float out = 0.0f;
    const auto run = [&](float x, int oneHot, int coarse) {
        conv1x1(&x, &out, weights, nullptr, 1, 1, -1, -1, false, nullptr, oneHot, coarse, 0, -1);
        return out;
    };
    EXPECT_NEAR(run(0.1f, 5, 0), 0.8 * 2 + 0.2 * 3, 1e-6);
    EXPECT_EQ(run(1.0f, 5, 0), 4.0f);
    EXPECT_EQ(run(1.7f, 5, 0), 4.0f);
    EXPECT_EQ(run(-1.0f, 5, 0), 0.0f);
    EXPECT_EQ(run(-5.0f, 5, 0), 0.0f);
    // Three levels and, behind them, the weight of the residual.
    EXPECT_EQ(run(-1.0f, -3, 0), 0.0f);
    EXPECT_EQ(run(1.0f, -3, 0), 2.0f);
    EXPECT_NEAR(run(0.2f, -3, 0), 1.0 + 3.0 * 0.2, 1e-6);
    EXPECT_NEAR(run(-0.2f, -3, 0), 1.0 - 3.0 * 0.2, 1e-6);
    EXPECT_NEAR(run(-0.5f, -3, 0), 1.0 - 3.0 * 0.5, 1e-6);  // halfway: away from zero
    // Outside -1 .. 1 a triangle fades out instead of staying at the end level.
    EXPECT_NEAR(run(1.25f, 0, 5), 0.5 * 4, 1e-6);
    EXPECT_EQ(run(1.5f, 0, 5), 0.0f);

    // A fixed-point value of 0x4d2f + 0.4: its bytes are 0x4d and 0x2f.
    float x = static_cast<float>((0x4d2f + 0.4) / 32767.5 - 1.0);
    std::vector<float> columns(512);
    for (std::size_t i = 0; i < columns.size(); ++i) columns[i] = static_cast<float>(i);
    conv1x1(&x, &out, columns.data(), nullptr, 1, 1, -1, -1, false, nullptr, 0, 0, 1, -1);
    EXPECT_EQ(out, static_cast<float>(0x4d + 256 + 0x2f));
    conv1x1(&x, &out, columns.data(), nullptr, 1, 1, -1, -1, false, nullptr, 0, 0, 2, -1);
    EXPECT_NEAR(out, 0x4d + 256 * (0x2f * 2.0 / 255.0 - 1.0), 1e-4);
}

TEST(Conv1x1, DualGoesBeforeCoarseBeforeOneHot) {
    Random random(42);
    const std::vector<float> weights = random.values(512);
    FencedInput w(weights);
    float x = 0.3f;
    const auto run = [&](int oneHot, int coarse, int dual) {
        float out = 0.0f;
        conv1x1(&x, &out, w.data(), nullptr, 1, 1, -1, -1, false, nullptr, oneHot, coarse, dual, -1);
        return out;
    };
    EXPECT_EQ(run(4, 6, 1), run(0, 0, 1));
    EXPECT_EQ(run(-4, 0, 2), run(0, 0, 2));
    EXPECT_EQ(run(4, 6, 0), run(0, 6, 0));
    EXPECT_EQ(run(4, -6, -1), run(4, 0, 0));
    EXPECT_EQ(run(0, -6, -1), weights[0] * x);
    EXPECT_NE(run(0, 6, 0), run(4, 0, 0));
}

TEST(Conv1x1, UnimplementedRequestsPrintAndWriteNothing) {
    Random random(43);
    float in[3] = {0.1f, 0.2f, 0.3f};
    std::vector<float> weights = random.values(3 * 512 * 2);
    float bias[2] = {1.0f, 2.0f};
    struct Row {
        int oneHot, coarse, dual;
        bool mask;
        const char* message;
    };
    const Row rows[] = {
        {0, 0, 0, true, "ERROR: not implemented\n"},  {4, 0, 0, true, "ERROR: not implemented\n"},
        {-4, 0, 0, true, "ERROR: not implemented\n"}, {0, 4, 0, true, "ERROR: not implemented\n"},
        {0, 0, 3, false, "not implemented dual_8bit_input mode\n"},
        {0, 0, 99, false, "not implemented dual_8bit_input mode\n"},
    };
    for (const Row& row : rows)
        for (bool accumulate : {false, true}) {
            bool mask[2] = {true, false};
            GuardedBuffer out(2, 1, 7.0f);
            CapturedStdout captured;
            conv1x1(in, out.data(), weights.data(), bias, 3, 2, -1, -1, accumulate, row.mask ? mask : nullptr,
                    row.oneHot, row.coarse, row.dual, -1);
            EXPECT_EQ(captured.text(), row.message);
            EXPECT_EQ(out[0], 7.0f);
            EXPECT_EQ(out[1], 7.0f);
            EXPECT_TRUE(out.intact());
        }
}

TEST(Conv1x1, ThreadsDoNotShareEncodingsAndNothingIsAllocatedTwice) {
    Random random(44);
    std::vector<float> weights = random.values(20 * 512);
    const auto run = [&](std::vector<float>& in, int oneHot, int coarse, int dual) {
        float out = 0.0f;
        conv1x1(in.data(), &out, weights.data(), nullptr, static_cast<int>(in.size()), 1, -1, -1, false, nullptr,
                oneHot, coarse, dual, -1);
        return out;
    };
    const auto runAll = [&](std::vector<float>& in) {
        return std::vector<float>{run(in, 9, 0, 0), run(in, -9, 0, 0), run(in, 0, 9, 0), run(in, 0, 0, 1),
                                  run(in, 0, 0, 2)};
    };
    std::vector<float> a = random.values(20), b = random.values(20);
    const std::vector<float> expectedA = runAll(a), expectedB = runAll(b);
    {
        const AllocationCounter counter;
        for (int mode = 0; mode < 5; ++mode)
            run(a, mode == 0 ? 9 : mode == 1 ? -9 : 0, mode == 2 ? 9 : 0, mode == 3 ? 1 : mode == 4 ? 2 : 0);
        EXPECT_EQ(counter.allocations(), 0);
    }
    int wrong[2] = {};
    const auto repeat = [&](std::vector<float>& in, const std::vector<float>& expected, int& count) {
        for (int round = 0; round < 3000; ++round)
            if (runAll(in) != expected) ++count;
    };
    std::thread first([&] { repeat(a, expectedA, wrong[0]); }), second([&] { repeat(b, expectedB, wrong[1]); });
    first.join();
    second.join();
    EXPECT_EQ(wrong[0], 0);
    EXPECT_EQ(wrong[1], 0);
}

TEST(Conv1x1, SequencesLoadTheirLayer) {
    Random random(45);
    const NaiveKernel kernel = randomKernel(random, 1, 5, 3, true);
    const TemporaryFolder folder;
    const std::string path = folder.file("weights");
    WeightFileWriter().add("layer", kernel.tensors()).save(path);
    std::vector<std::vector<float>> in;
    Signal signal;
    for (int t = 0; t < 4; ++t) {
        in.push_back(random.values(5));
        signal.emplace_back(in.back().begin(), in.back().end());
    }
    const auto run = [&](std::vector<std::vector<float>>& out, const char* layer, int inStart, bool accumulate) {
        CapturedStdout captured;
        conv1x1(in, out, path, layer, 5, 3, inStart, -1, accumulate, nullptr, 0, 0, 0, -1);
        return captured.text();
    };
    {
        std::vector<std::vector<float>> out(4, std::vector<float>(3));
        const AllocationCounter counter;
        run(out, "layer", -1, false);
        EXPECT_EQ(counter.allocations(), counter.releases());
    }
    // Frames that are there keep their size, missing ones are made, surplus ones removed.
    for (std::size_t had : {0u, 2u, 6u}) {
        std::vector<std::vector<float>> out(had, std::vector<float>{1.0f, 2.0f, 3.0f, 4.0f});
        EXPECT_EQ(run(out, "layer", -1, true), "");
        ASSERT_EQ(out.size(), 4u);
        for (int t = 0; t < 4; ++t) {
            const bool old = static_cast<std::size_t>(t) < had;
            ASSERT_EQ(out[t].size(), old ? 4u : 3u);
            const Frame expected = convolveAt(signal, t, kernel, 1);
            for (int o = 0; o < 3; ++o)
                EXPECT_NEAR(out[t][o], expected[o] + (old ? o + 1.0 : 0.0), 2e-6) << had << ", " << t << ", " << o;
            if (old) {
                EXPECT_EQ(out[t][3], 4.0f);
            }
        }
    }
    std::vector<std::vector<float>> out;
    run(out, "layer", 4, false);
    EXPECT_NEAR(out[1][2], kernel.at(0, 4, 2) * in[1][4] + kernel.bias[2], 1e-6);
    out[0] = {5.0f, 5.0f, 5.0f};
    EXPECT_EQ(run(out, "absent", -1, false), "WARNING: absent not loaded!\n");
    for (const std::vector<float>& frame : out) EXPECT_EQ(frame, std::vector<float>(3, 0.0f));
    // An encoding would need more weights than this form loads.
    const int extras[][4] = {{3, 0, 0, -1}, {-3, 0, 0, -1}, {0, 3, 0, -1}, {0, 0, 1, -1}, {0, 0, 0, 1}};
    for (const auto& extra : extras) {
        out.assign(4, std::vector<float>(3, 5.0f));
        CapturedStdout captured;
        conv1x1(in, out, path, "layer", 5, 3, -1, -1, false, nullptr, extra[0], extra[1], extra[2], extra[3]);
        EXPECT_EQ(captured.text(), "ERROR: not implemented\n");
        EXPECT_EQ(out[3], std::vector<float>(3, 5.0f));
    }
    in.clear();
    run(out, "layer", -1, false);
    EXPECT_TRUE(out.empty());
}

}  // namespace
}  // namespace KaTessel::tests
