// The multi-resolution spectrum against its definition, its output modes, and what it keeps between frames.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <memory>
#include <vector>

#include "dsp/FrameSpectrum.h"
#include "dsp/LaneSpectrum.h"
#include "dsp/ReferenceSpectrum.h"
#include "katessel/InstructionSet.h"
#include "katessel/MRSpectrum.h"
#include "support/AllocationCounter.h"
#include "support/GuardedBuffer.h"
#include "support/Random.h"

namespace KaTessel::tests {
namespace {

// 41 products of a transform with taps of a transform, relative to the root mean square of all bins; the worst bin
// was off by 2.2e-6 over ten seeds.
constexpr double kSpectrumTolerance = 5e-6;

constexpr char kDecibels = 0, kLinear = 1, kPower = 2, kSpectrum = 3;

// Noise that grows louder: no bin is empty, none stands out, and time runs visibly one way.
std::vector<float> frameOf(int length) {
    std::vector<float> frame = Random(static_cast<std::uint64_t>(length)).values(length);
    for (int i = 0; i < length; ++i)
        frame[static_cast<std::size_t>(i)] *= 0.2f + static_cast<float>(i) / static_cast<float>(length);
    return frame;
}

// Bins 0 .. half of one frame in mode 3, with every pointer that the mode does not use left out.
Points analysed(MRSpectrum& mr, const SpectrumArguments& a, const std::vector<float>& frame) {
    mr.PrepareMR(a.length, static_cast<char>(a.windowType), a.padFactor, a.centred, a.sampleRate);
    FencedInput input(frame);
    GuardedBuffer spectrum(mr.transformLength(), 1, NAN);
    float* out = spectrum.data();
    long lastBin = -1;
    EXPECT_EQ(mr.DoMultiresolutionSpectrum(input.data(), a.length, static_cast<char>(a.windowType), -200.0f, nullptr,
                                           nullptr, &lastBin, kSpectrum, &out, a.padFactor, a.centred, a.sampleRate),
              0);
    EXPECT_EQ(lastBin, mr.transformLength() / 2);
    EXPECT_TRUE(spectrum.intact());
    EXPECT_EQ(std::vector<float>(input.data(), input.data() + a.length), frame) << "the frame is only read";
    return unpackedSpectrum(spectrum.data(), spectrum.size());
}

// A frame of the engine's length in one mode; null pointers stand for arrays to allocate.
void analyse(MRSpectrum& mr, std::vector<float>& frame, char mode, float*& magnitude, float*& phase, float*& spectrum) {
    long lastBin = -1;
    mr.DoMultiresolutionSpectrum(frame.data(), 1025, 10, -200.0f, &magnitude, &phase, &lastBin, mode, &spectrum, 1.0f,
                                 true, 12000.0f);
    EXPECT_EQ(lastBin, 512);
}

TEST(MultiResolutionSpectrum, MatchesTheDefinition) {
    const SpectrumArguments table[] = {
        {1025},                   // the engine's
        {1025, 10, 1.0f, false},  // window not centred
        {1025, 15},               // complex kernels
        {1025, 15, 1.0f, false},
        {1025, 13},               // another family
        {1025, 15, 2.0f, false},  // padded: 2048 samples, 81 taps
        {1025, 10, 0.5f},         // frame and long windows do not fit: 512 samples, 21 taps
        {1025, 15, 0.5f, false},  // ... and cut windows have a value at half the rate
        {1025, 10, 0.775f},       // 32 taps: one more on the left than on the right
        {1024},                   // even: the last sample of a centred frame lies beyond the copied ones
        {1000, 15, 1.0f, false},
        {514},                             // one sample too long for a transform of 512
        {1025, 10, 1.0f, true, 24000.0f},  // short windows of 557
        {1025, 10, 1.0f, true, 5000.0f},   // a slope rounded once, not twice, gives other lengths
        {67, 10, 1.0f, true, 1000.0f},     // 64 samples: taps reach past both ends of the spectrum
        {257, 10, 1.0f, false, 12000.0f},  // short windows longer than the frame
        {101},                             // ... whose ends do not fit
        {33, 15},                          // kernels longer than the spectrum, which goes on periodically
        {33, 10, 2.0f},
        {3},
        {262145, 12, 1.0f, true, 8e6f},  // twice the longest transform, at a rate that leaves few resolutions
    };
    MRSpectrum mr;
    for (const SpectrumArguments& a : table) {
        SCOPED_TRACE(testing::Message() << "length " << a.length << ", window " << a.windowType << ", pad "
                                        << a.padFactor << ", centred " << a.centred << ", rate " << a.sampleRate);
        mr.PrepareMR(33, 9, 1.0f, true, 1000.0f);  // nothing is left of the row before
        const ReferenceSpectrum reference(a);
        const std::vector<float> frame = frameOf(a.length);
        EXPECT_LT(relativeError(analysed(mr, a, frame), reference.spectrum(frame, a.centred)), kSpectrumTolerance);
        EXPECT_EQ(mr.kernelTaps(), reference.taps);
        for (int k = 0; k <= reference.half; ++k)
            ASSERT_EQ(mr.windowLength(mr.resolutionOfBin(k)), reference.binLengths[static_cast<std::size_t>(k)]) << k;
    }
}

TEST(MultiResolutionSpectrum, ResolutionsOfTheEngine) {
    MRSpectrum mr;
    mr.PrepareMR(1025, 10, 1.0f, true, 12000.0f);
    EXPECT_EQ(mr.resolutionCount(), 69);
    const int lengths[][2] = {{0, 1025}, {17, 1025}, {18, 1015}, {19, 1003}, {84, 289}, {85, 279}, {512, 279}};
    for (const auto& [bin, length] : lengths) EXPECT_EQ(mr.windowLength(mr.resolutionOfBin(bin)), length) << bin;
}

// The outputs of all modes against the spectrum that mode 3 leaves, into the caller's arrays, which allocates nothing,
// and into new ones.
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
            SCOPED_TRACE(testing::Message() << "mode " << int{mode});
            const bool withPhase = mode == kDecibels || mode == kLinear;
            GuardedBuffer first(513, 1, 77.0f), second(513, 1, 77.0f), work(1024, 1, 77.0f);
            float *magnitude = first.data(), *phase = second.data(), *spectrum = work.data();
            const AllocationCounter counter;
            analyse(mr, frame, mode, magnitude, phase, spectrum);
            EXPECT_EQ(counter.allocations() + counter.releases(), 0);
            EXPECT_TRUE(first.intact() && second.intact() && work.intact());
            for (int k = 0; k <= 512; ++k) {
                const bool end = k == 0 || k == 512;
                const auto bin = expected[static_cast<std::size_t>(k)];
                const double size = std::abs(bin);
                const double angle = end ? (negativeEnds ? static_cast<double>(3.14159274f) : 0.0) : std::arg(bin);
                const double wanted = mode == kDecibels ? 20.0 * std::log10(size / 32768.0)
                                      : mode == kLinear ? size
                                      : mode == kPower  ? (end ? size : size * size)
                                                        : 77.0;
                ASSERT_NEAR(first[k], wanted, std::abs(wanted) * 3e-7) << k;
                ASSERT_NEAR(second[k], withPhase ? angle : 77.0, 3e-7 * std::abs(angle)) << k;
            }
            if (withPhase)
                EXPECT_EQ(work[0], 77.0f);
            else
                EXPECT_EQ(unpackedSpectrum(work.data(), 1024), expected);

            float *newMagnitude = nullptr, *newPhase = nullptr, *newSpectrum = nullptr;
            analyse(mr, frame, mode, newMagnitude, newPhase, newSpectrum);
            const std::unique_ptr<float[]> ownMagnitude(newMagnitude), ownPhase(newPhase), ownSpectrum(newSpectrum);
            const auto same = [](const float* a, const float* b, int n) { return a && std::equal(a, a + n, b); };
            EXPECT_TRUE(mode == kSpectrum || same(newMagnitude, magnitude, 513));
            EXPECT_TRUE(withPhase ? same(newPhase, phase, 513) : same(newSpectrum, spectrum, 1024));
        }
    }
}

TEST(MultiResolutionSpectrum, SilenceHasTheLowestDecibels) {
    MRSpectrum mr;
    std::vector<float> silence(1025), magnitude(513), phase(513, 1.0f);
    float *outMagnitude = magnitude.data(), *outPhase = phase.data(), *unused = nullptr;
    analyse(mr, silence, kDecibels, outMagnitude, outPhase, unused);
    EXPECT_EQ(magnitude, std::vector<float>(513, -FLT_MAX));
    EXPECT_EQ(phase, std::vector<float>(513, 0.0f));
}

TEST(MultiResolutionSpectrum, SixteenBitSamplesAreWholeNumbers) {
    MRSpectrum mr;
    Random random(1);
    std::vector<short> frame = {-32768, 32767};
    while (frame.size() < 1025) frame.push_back(static_cast<short>(random.integer(-32768, 32767)));
    std::vector<float> work(1024);
    float* spectrum = work.data();
    mr.DoMultiresolutionSpectrum(frame.data(), 1025, 10, 0.0f, nullptr, nullptr, nullptr, kSpectrum, &spectrum, 1.0f,
                                 true, 12000.0f);
    EXPECT_EQ(unpackedSpectrum(spectrum, 1024), analysed(mr, {1025}, {frame.begin(), frame.end()}));
}

// Kernels belong to length, window family and pad factor. Rate and placement alone change nothing.
TEST(MultiResolutionSpectrum, KernelsAreKept) {
    const SpectrumArguments first{1025};
    const std::vector<float> frame = frameOf(1025);
    MRSpectrum mr;
    const Points original = analysed(mr, first, frame);
    EXPECT_EQ(analysed(mr, {1025, 10, 1.0f, true, 24000.0f}, frame), original);
    EXPECT_LT(
        relativeError(analysed(mr, {1025, 10, 1.0f, false}, frame), ReferenceSpectrum(first).spectrum(frame, false)),
        kSpectrumTolerance);

    const AllocationCounter counter;
    mr.FreeMR();
    EXPECT_GT(counter.releases(), 0);
    EXPECT_EQ(analysed(mr, first, frame), original) << "built again after their release";

    // Everything else builds new ones, and so does the way back.
    for (const SpectrumArguments& other : {SpectrumArguments{1023}, {1025, 9}, {1025, 10, 0.75f}}) {
        const std::vector<float> otherFrame = frameOf(other.length);
        EXPECT_LT(relativeError(analysed(mr, other, otherFrame), ReferenceSpectrum(other).spectrum(otherFrame, true)),
                  kSpectrumTolerance)
            << other.length << ", " << other.windowType << ", " << other.padFactor;
        EXPECT_EQ(analysed(mr, first, frame), original);
    }
}

// The analysis of the engine's frames, against its definition and against the general one.
TEST(FrameSpectrum, IsTheMultiResolutionSpectrumOfAFrame) {
    const SpectrumArguments arguments{1025};
    std::vector<float> frame = frameOf(1025);
    frame[1024] = 0.0f;
    MRSpectrum mr;
    const Points general = analysed(mr, arguments, frame);
    const FrameSpectrum fast(*kernels::active, mr);
    const FencedInput samples({frame.begin(), frame.end() - 1});
    GuardedBuffer spectrum(1024), magnitude(513);
    fast.process(samples.data(), spectrum.data(), magnitude.data());
    EXPECT_TRUE(spectrum.intact() && magnitude.intact());
    const Points bins = unpackedSpectrum(spectrum.data(), 1024);
    EXPECT_LT(relativeError(bins, ReferenceSpectrum(arguments).spectrum(frame, true)), kSpectrumTolerance);
    EXPECT_LT(relativeError(bins, general), kSpectrumTolerance);
    for (int k = 0; k <= 512; ++k) {
        const double size = std::abs(bins[static_cast<std::size_t>(k)]);
        ASSERT_NEAR(magnitude[k], size, 3e-7 * size) << k;
    }
}

// Its arrays are laid out for one instruction set: it keeps to it when another thread forces another.
TEST(PlainLaneSpectrum, KeepsTheInstructionSetItWasMadeFor) {
    const std::string original = instructionSet();
    const std::vector<float> sound = frameOf(1025 + 15 * 120);  // as many frames as the widest vectors have lanes
    const ReferenceSpectrum reference(SpectrumArguments{1025});
    MRSpectrum prepared;
    prepared.PrepareMR(1025, 10, 1.0f, true, 12000.0f);
    for (const std::string& made : availableInstructionSets()) {
        forceInstructionSet(made);
        LaneSpectrum lanes(*kernels::active, prepared, 1025, 299);
        for (const std::string& forced : availableInstructionSets()) {
            forceInstructionSet(forced);
            const float* magnitude = lanes.process(sound.data(), 120);
            for (int f = 0; f < lanes.lanes(); ++f) {
                const Points bins = reference.spectrum({sound.begin() + f * 120, sound.begin() + f * 120 + 1025}, true);
                for (int k = 0; k < 299; ++k)
                    ASSERT_NEAR(magnitude[k * lanes.lanes() + f], std::abs(bins[static_cast<std::size_t>(k)]), 1e-4)
                        << "made for " << made << ", forced " << forced << ", frame " << f << ", bin " << k;
            }
        }
    }
    forceInstructionSet(original);
}

}  // namespace
}  // namespace KaTessel::tests
