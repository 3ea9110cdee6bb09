// The multi-resolution spectrum against its definition, its output modes, and what it keeps between frames.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <memory>
#include <vector>

#include "dsp/ReferenceSpectrum.h"
#include "katessel/MRSpectrum.h"
#include "support/AllocationCounter.h"
#include "support/GuardedBuffer.h"
#include "support/Random.h"

namespace KaTessel::tests {
namespace {

// 41 products of a transform with taps of a transform, relative to the root mean square of all bins; the worst bin
// was off by 2.2e-6 over ten seeds.
constexpr double kTolerance = 5e-6;

constexpr char kDecibels = 0, kLinear = 1, kPower = 2, kSpectrum = 3;

int transformLength(const SpectrumArguments& a) {
    int length = 1;
    while (length <= static_cast<int>(static_cast<float>(a.length - 1) * a.padFactor - 1.0f) && length < 131072)
        length *= 2;
    return length;
}

// Noise that grows louder: no bin is empty, none stands out, and time runs visibly one way.
std::vector<float> frameOf(int length) {
    std::vector<float> frame = Random(static_cast<std::uint64_t>(length)).values(length);
    for (int i = 0; i < length; ++i)
        frame[static_cast<std::size_t>(i)] *= 0.2f + static_cast<float>(i) / static_cast<float>(length);
    return frame;
}

// Bins 0 .. half of one frame in mode 3, with every pointer that the mode does not use left out.
Points analysed(MRSpectrum& mr, const SpectrumArguments& a, const std::vector<float>& frame) {
    FencedInput input(frame);
    GuardedBuffer spectrum(transformLength(a), 1, NAN);
    float* out = spectrum.data();
    long lastBin = -1;
    EXPECT_EQ(mr.DoMultiresolutionSpectrum(input.data(), a.length, static_cast<char>(a.windowType), -200.0f, nullptr,
                                           nullptr, &lastBin, kSpectrum, &out, a.padFactor, a.centred, a.sampleRate),
              0);
    EXPECT_EQ(out, spectrum.data());
    EXPECT_EQ(lastBin, transformLength(a) / 2);
    EXPECT_TRUE(spectrum.intact());
    EXPECT_EQ(std::vector<float>(input.data(), input.data() + a.length), frame) << "the frame is only read";
    Points bins = interleavedPoints(spectrum.data(), spectrum.size());
    bins.emplace_back(spectrum[1]);
    bins[0] = spectrum[0];
    return bins;
}

TEST(MultiResolutionSpectrum, ResolutionsOfTheEngine) {
    MRSpectrum mr;
    mr.PrepareMR(1025, 10, 1.0f, true, 12000.0f);
    const ReferenceSpectrum reference({1025});
    EXPECT_EQ(mr.kernelTaps(), 41);
    ASSERT_EQ(mr.resolutionCount(), 69);
    struct Row {
        int firstBin, lastBin, length;
    };
    for (const Row& row : {Row{0, 17, 1025}, {18, 18, 1015}, {19, 19, 1003}, {20, 20, 993}, {21, 21, 981},
                           {83, 83, 299}, {84, 84, 289}, {85, 512, 279}})
        for (int k = row.firstBin; k <= row.lastBin; ++k)
            ASSERT_EQ(mr.windowLength(mr.resolutionOfBin(k)), row.length) << "bin " << k;
    for (int k = 0; k <= 512; ++k) {
        ASSERT_EQ(mr.resolutionOfBin(k), reference.resolutions[static_cast<std::size_t>(k)]) << "bin " << k;
        ASSERT_EQ(mr.windowLength(mr.resolutionOfBin(k)), reference.binLengths[static_cast<std::size_t>(k)]);
    }
}

TEST(MultiResolutionSpectrum, MatchesTheDefinition) {
    const SpectrumArguments table[] = {
        {1025},                             // the engine's
        {1025, 10, 1.0f, false},            // window not centred
        {1025, 15},                         // complex kernels
        {1025, 15, 1.0f, false},
        {1025, 0},                          // other families
        {1025, 6},
        {1025, 13},
        {1025, 10, 2.0f},                   // padded: 2048 samples, 81 taps
        {1025, 15, 2.0f, false},
        {1025, 10, 0.5f},                   // frame and long windows do not fit: 512 samples, 21 taps
        {1025, 10, 0.5f, false},
        {1025, 15, 0.5f},                   // ... and cut windows have a value at half the rate
        {1025, 15, 0.5f, false},
        {1025, 10, 0.775f},                 // 32 taps: one more on the left than on the right
        {1024},                             // even: the last sample of a centred frame lies beyond the copied ones
        {1000, 15, 1.0f, false},
        {514},                              // one sample too long for a transform of 512
        {513},
        {1025, 10, 1.0f, true, 24000.0f},   // short windows of 557
        {1025, 10, 1.0f, true, 8000.0f},
        {1025, 10, 1.0f, true, 5000.0f},    // a slope rounded once, not twice, gives other lengths
        {257, 10, 1.0f, true, 3000.0f},
        {67, 10, 1.0f, true, 1000.0f},      // 64 samples: taps reach past both ends of the spectrum
        {257, 10, 1.0f, false, 12000.0f},   // short windows longer than the frame
        {101},                              // ... whose ends do not fit
        {33, 15},                           // kernels longer than the spectrum, which goes on periodically
        {33, 10, 2.0f},
        {34},
        {9},
        {3},
    };
    MRSpectrum mr;
    for (const SpectrumArguments& a : table) {
        SCOPED_TRACE(testing::Message() << "length " << a.length << ", window " << a.windowType << ", pad "
                                        << a.padFactor << ", centred " << a.centred << ", rate " << a.sampleRate);
        mr.FreeMR();
        mr.PrepareMR(33, 9, 1.0f, true, 1000.0f);  // nothing is left of the row before
        const ReferenceSpectrum reference(a);
        const std::vector<float> frame = frameOf(a.length);
        EXPECT_LT(relativeError(analysed(mr, a, frame), reference.spectrum(frame, a.centred)), kTolerance);
        EXPECT_EQ(mr.resolutionCount(), static_cast<int>(reference.lengths.size()));
        EXPECT_EQ(mr.kernelTaps(), reference.taps);
    }
}

TEST(MultiResolutionSpectrum, LongestFrame) {
    // Twice the longest transform, at a rate that leaves few resolutions to build.
    for (bool centred : {true, false}) {
        const SpectrumArguments a{262145, 12, 1.0f, centred, 8e6f};
        const std::vector<float> frame = frameOf(a.length);
        MRSpectrum mr;
        EXPECT_LT(relativeError(analysed(mr, a, frame), ReferenceSpectrum(a).spectrum(frame, centred)), kTolerance)
            << centred;
    }
}

// Too short for a spectrum worth the name; nothing outside the buffers is touched.
TEST(MultiResolutionSpectrum, ShortestFrames) {
    MRSpectrum mr;
    for (int length : {1, 2, 3})
        for (int windowType : {9, 10, 14, 15})
            for (bool centred : {true, false}) {
                FencedInput input(frameOf(length));
                float *magnitude = nullptr, *phase = nullptr, *spectrum = nullptr;
                long lastBin = -1;
                for (char mode : {kDecibels, kLinear, kPower, kSpectrum})
                    mr.DoMultiresolutionSpectrum(input.data(), length, static_cast<char>(windowType), -200.0f,
                                                 &magnitude, &phase, &lastBin, mode, &spectrum, 1.0f, centred,
                                                 12000.0f);
                const std::unique_ptr<float[]> ownMagnitude(magnitude), ownPhase(phase), ownSpectrum(spectrum);
                EXPECT_EQ(lastBin, length < 3 ? 0 : 1) << length;
                EXPECT_TRUE(std::isfinite(spectrum[0])) << length << ", window " << windowType;
            }
}

// The outputs of all modes against the spectrum that mode 3 leaves, which the tests above have checked.
TEST(MultiResolutionSpectrum, OutputModes) {
    MRSpectrum mr;
    for (bool negativeEnds : {false, true}) {
        std::vector<float> frame = frameOf(1025);
        for (std::size_t i = 0; i < frame.size(); ++i)  // both end bins of a known sign
            frame[i] += (negativeEnds ? -1.0f : 1.0f) * (i % 2 == 0 ? 1.0f : 0.2f);
        const Points expected = analysed(mr, {1025}, frame);
        ASSERT_EQ(expected[0].real() < 0, negativeEnds);
        ASSERT_EQ(expected[512].real() < 0, negativeEnds);
        for (char mode : {kDecibels, kLinear, kPower, kSpectrum}) {
            GuardedBuffer first(513, 1, 77.0f), second(513, 1, 77.0f), work(1024, 1, 77.0f);
            float *outMagnitude = first.data(), *outPhase = second.data(), *spectrum = work.data();
            long lastBin = 0;
            mr.DoMultiresolutionSpectrum(frame.data(), 1025, 10, -200.0f, &outMagnitude, &outPhase, &lastBin, mode,
                                         &spectrum, 1.0f, true, 12000.0f);
            EXPECT_EQ(lastBin, 512);
            EXPECT_TRUE(first.intact() && second.intact() && work.intact()) << int{mode};
            for (int k = 0; k <= 512; ++k) {
                SCOPED_TRACE(testing::Message() << "mode " << int{mode} << ", bin " << k);
                const bool end = k == 0 || k == 512;
                const auto bin = expected[static_cast<std::size_t>(k)];
                const double magnitude = std::abs(bin);
                const double phase = end ? (negativeEnds ? static_cast<double>(3.14159274f) : 0.0)
                                         : std::atan2(bin.imag(), bin.real());
                const double wanted = mode == kDecibels ? 20.0 * std::log10(magnitude / 32768.0)
                                      : mode == kLinear ? magnitude
                                      : mode == kPower  ? (end ? magnitude : magnitude * magnitude)
                                                        : 77.0;
                ASSERT_NEAR(first[k], wanted, std::abs(wanted) * 3e-7);
                if (mode == kDecibels || mode == kLinear)
                    ASSERT_NEAR(second[k], phase, 3e-7 * std::abs(phase));
                else
                    ASSERT_EQ(second[k], 77.0f);
            }
            for (int k = 0; k < 1024; ++k) {
                const auto bin = expected[static_cast<std::size_t>(k == 1 ? 512 : k / 2)];
                const double value = k % 2 == 0 || k == 1 ? bin.real() : bin.imag();
                ASSERT_EQ(work[k], mode == kDecibels || mode == kLinear ? 77.0 : value) << int{mode} << ", " << k;
            }
        }
    }
}

TEST(MultiResolutionSpectrum, SilenceHasTheLowestDecibels) {
    MRSpectrum mr;
    std::vector<float> frame(1025), magnitude(513, 1.0f), phase(513, 1.0f);
    float *outMagnitude = magnitude.data(), *outPhase = phase.data();
    long lastBin = 0;
    mr.DoMultiresolutionSpectrum(frame.data(), 1025, 10, -200.0f, &outMagnitude, &outPhase, &lastBin, kDecibels,
                                 nullptr, 1.0f, true, 12000.0f);
    EXPECT_EQ(magnitude, std::vector<float>(513, -FLT_MAX));
    EXPECT_EQ(phase, std::vector<float>(513, 0.0f));
    for (const auto& bin : analysed(mr, {1025}, frame)) EXPECT_EQ(bin, 0.0);
}

// An end bin's magnitude is its absolute value: no square that could vanish.
TEST(MultiResolutionSpectrum, TinyEndBins) {
    MRSpectrum mr;
    std::vector<float> frame(1025, -1e-25f), magnitude(513), phase(513);
    float *outMagnitude = magnitude.data(), *outPhase = phase.data();
    long lastBin = 0;
    mr.DoMultiresolutionSpectrum(frame.data(), 1025, 10, -200.0f, &outMagnitude, &outPhase, &lastBin, kLinear,
                                 nullptr, 1.0f, true, 12000.0f);
    EXPECT_EQ(magnitude[0], static_cast<float>(-analysed(mr, {1025}, frame)[0].real()));
    EXPECT_GT(magnitude[0], 0.0f);
}

TEST(MultiResolutionSpectrum, AllocatesWhatIsMissing) {
    MRSpectrum mr;
    std::vector<float> frame = frameOf(1025);
    for (char mode : {kDecibels, kLinear, kPower, kSpectrum}) {
        std::vector<float> first(513), second(513), work(1024);
        float *givenFirst = first.data(), *givenSecond = second.data(), *givenWork = work.data();
        float *newFirst = nullptr, *newSecond = nullptr, *newWork = nullptr;
        long lastBin = 0;
        mr.DoMultiresolutionSpectrum(frame.data(), 1025, 10, 0.0f, &givenFirst, &givenSecond, &lastBin, mode,
                                     &givenWork, 1.0f, true, 12000.0f);
        mr.DoMultiresolutionSpectrum(frame.data(), 1025, 10, -200.0f, &newFirst, &newSecond, &lastBin, mode,
                                     &newWork, 1.0f, true, 12000.0f);
        const std::unique_ptr<float[]> ownFirst(newFirst), ownSecond(newSecond), ownWork(newWork);
        if (mode != kSpectrum) {
            ASSERT_NE(newFirst, nullptr) << int{mode};
            EXPECT_EQ(std::vector<float>(newFirst, newFirst + 513), first) << int{mode};
        }
        if (mode == kDecibels || mode == kLinear) {
            ASSERT_NE(newSecond, nullptr) << int{mode};
            EXPECT_EQ(std::vector<float>(newSecond, newSecond + 513), second) << int{mode};
        } else {
            ASSERT_NE(newWork, nullptr) << int{mode};
            EXPECT_EQ(std::vector<float>(newWork, newWork + 1024), work) << int{mode};
        }
    }
}

TEST(MultiResolutionSpectrum, SixteenBitSamplesAreWholeNumbers) {
    MRSpectrum mr;
    Random random(1);
    std::vector<short> frame;
    std::vector<float> same;
    for (int i = 0; i < 1025; ++i) {
        frame.push_back(static_cast<short>(i == 0 ? -32768 : i == 1 ? 32767 : random.integer(-32768, 32767)));
        same.push_back(frame.back());
    }
    std::vector<float> magnitude(513), phase(513), expectedMagnitude(513), expectedPhase(513);
    float *outs[4] = {magnitude.data(), phase.data(), expectedMagnitude.data(), expectedPhase.data()};
    long lastBin = 0;
    const std::vector<short> before = frame;
    EXPECT_EQ(mr.DoMultiresolutionSpectrum(frame.data(), 1025, 10, 0.0f, &outs[0], &outs[1], &lastBin, kLinear,
                                           nullptr, 1.0f, true, 12000.0f),
              0);
    EXPECT_EQ(lastBin, 512);
    mr.DoMultiresolutionSpectrum(same.data(), 1025, 10, 0.0f, &outs[2], &outs[3], &lastBin, kLinear, nullptr, 1.0f,
                                 true, 12000.0f);
    EXPECT_EQ(magnitude, expectedMagnitude);
    EXPECT_EQ(phase, expectedPhase);
    EXPECT_EQ(frame, before);
}

// Kernels belong to length, window family and pad factor. Rate and placement alone change nothing.
TEST(MultiResolutionSpectrum, KernelsAreKept) {
    const SpectrumArguments first{1025, 10, 1.0f, true, 12000.0f};
    const ReferenceSpectrum reference(first);
    const std::vector<float> frame = frameOf(1025);
    MRSpectrum mr;
    const Points original = analysed(mr, first, frame);
    EXPECT_EQ(analysed(mr, first, frame), original);
    EXPECT_EQ(analysed(mr, {1025, 10, 1.0f, true, 24000.0f}, frame), original);
    const SpectrumArguments notCentred{1025, 10, 1.0f, false, 12000.0f};
    EXPECT_LT(relativeError(analysed(mr, notCentred, frame), reference.spectrum(frame, false)), kTolerance);

    const AllocationCounter counter;
    mr.FreeMR();
    EXPECT_GT(counter.releases(), 0);
    EXPECT_EQ(analysed(mr, first, frame), original) << "built again after their release";

    // Everything else builds new ones, and so does the way back.
    for (const SpectrumArguments& other : {SpectrumArguments{1023}, {1025, 9}, {1025, 10, 0.75f}}) {
        const std::vector<float> otherFrame = frameOf(other.length);
        EXPECT_LT(relativeError(analysed(mr, other, otherFrame),
                                ReferenceSpectrum(other).spectrum(otherFrame, true)), kTolerance)
            << other.length << ", " << other.windowType << ", " << other.padFactor;
        EXPECT_EQ(analysed(mr, first, frame), original);
    }
}

TEST(MultiResolutionSpectrum, PreparedFramesAllocateNothing) {
    MRSpectrum mr;
    mr.PrepareMR(1025, 10, 1.0f, true, 12000.0f);
    std::vector<float> frame = frameOf(1025), magnitude(513), phase(513), work(1024);
    float *outMagnitude = magnitude.data(), *outPhase = phase.data(), *spectrum = work.data();
    long lastBin = 0;
    const AllocationCounter counter;
    for (char mode : {kDecibels, kLinear, kPower, kSpectrum})
        mr.DoMultiresolutionSpectrum(frame.data(), 1025, 10, -200.0f, &outMagnitude, &outPhase, &lastBin, mode,
                                     &spectrum, 1.0f, true, 12000.0f);
    EXPECT_EQ(counter.allocations(), 0);
    EXPECT_EQ(counter.releases(), 0);
    // Prepared at 12000 Hz, so a frame that claims another rate gets the same.
    MRSpectrum fresh;
    EXPECT_EQ(analysed(mr, {1025, 10, 1.0f, true, 8000.0f}, frame), analysed(fresh, {1025}, frame));
}

}  // namespace
}  // namespace KaTessel::tests
