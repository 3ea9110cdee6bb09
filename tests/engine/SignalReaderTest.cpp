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

}  // namespace
}  // namespace KaTessel::tests
