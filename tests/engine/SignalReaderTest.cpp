// The piecewise conversion of a whole signal against one conversion at once.
#include "engine/SignalReader.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/GuardedBuffer.h"
#include "support/Random.h"

namespace KaTessel::tests {
namespace {

// The last outputs reach up to the last sample, and no further.
TEST(SignalReader, EveryShortSignalIsConvertedToItsEnd) {
    Random random(44);
    for (const int rate : {8000, 11025, 16000})
        for (int samples = 1; samples <= 60; ++samples) {
            const float ratio = static_cast<float>(rate) / 24000.0f;
            const FencedInput sound(random.values(samples, 0.5f, 1.0f));  // a sample that is missing shows
            KaResample::CKaResample converter;
            converter.configure(200);
            SignalReader reader(sound.data(), samples, ratio, converter);
            const int length = static_cast<int>(reader.length());
            std::vector<float> expected(static_cast<std::size_t>(length + 6)), read(expected.size(), 9.0f);
            converter.doProcess(sound.data(), samples, expected.data() + 3, ratio, length);
            reader.read(-3, length + 6, read.data());
            ASSERT_EQ(read, expected) << samples << " samples at " << rate << " Hz";
        }
}

// At 24 kHz they are more samples than an int can count.
TEST(SignalReader, LongestSignalsKeepTheirLength) {
    KaResample::CKaResample converter;
    const float sound = 0.0f;
    EXPECT_EQ(SignalReader(&sound, 2147483647, 1.0f, converter).length(), 2147483647L);
    for (const int rate : {1000, 8000, 16000}) {
        const float ratio = static_cast<float>(rate) / 24000.0f;
        const double length = 2147483647.0 * 24000.0 / rate;
        EXPECT_NEAR(static_cast<double>(SignalReader(&sound, 2147483647, ratio, converter).length()), length,
                    1e-6 * length);
    }
}

}  // namespace
}  // namespace KaTessel::tests
