// Arbitrary bytes as calls of the C interface, within its rules: whatever the order, rates and lengths, results are numbers,
// and after a reset or a new configuration they are those of a new engine.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "ScratchFile.h"
#include "katessel/KTesselExt.h"

namespace {

// Takes the bytes of one run as numbers, 0 when there are no more.
class Bytes {
public:
    Bytes(const std::uint8_t* data, std::size_t size) : m_data(data), m_left(size) {}
    bool empty() const { return m_left == 0; }
    int next() { return m_left == 0 ? 0 : (--m_left, *m_data++); }
    int below(int limit) { return (next() << 8 | next()) % limit; }
    // The same, but mostly far below the limit: what is short is fast.
    int mostlyShort(int limit) {
        const int value = below(limit);
        return value >> value % 8;
    }

private:
    const std::uint8_t* m_data;
    std::size_t m_left;
};

struct Engine {
    void* handle = KTessel_Create();
    ~Engine() { KTessel_Destroy(handle); }
};

// Deterministic sound of `count` samples, some of them far too loud.
std::vector<float> soundOf(int seed, int count) {
    std::vector<float> sound(static_cast<std::size_t>(count));
    std::uint32_t state = static_cast<std::uint32_t>(seed) * 2654435761u + 1u;
    for (float& sample : sound) {
        state = state * 1664525u + 1013904223u;
        sample = static_cast<float>(static_cast<std::int32_t>(state)) / 2147483648.0f;
        if (seed % 16 == 15) sample *= 1e6f;
    }
    return sound;
}

void requireNumbers(float f0, float confidence) {
    require(std::isfinite(f0) && confidence >= 0.0f && std::isfinite(confidence));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Stays configured, so that the engines of all runs share its tables: to compute them takes longer than most runs.
    static const Engine keeper;
    static const int kept = KTessel_Configure(24000, 0, 120, KATESSEL_FUZZ_MODEL, keeper.handle);
    require(kept == 0);
    Bytes bytes(data, std::min<std::size_t>(size, 24));
    Engine engine, fresh;
    int rate = 0, block = 0;
    const auto configure = [&](void* handle) { return KTessel_Configure(rate, 0, block, KATESSEL_FUZZ_MODEL, handle); };
    while (!bytes.empty()) {
        const int call = bytes.next() % 5;
        if (rate == 0 || call == 0) {
            rate = 1000 + bytes.below(60000);
            block = 1 + bytes.mostlyShort(rate * 9 / 10);
            require(configure(engine.handle) == 0);
        } else if (call == 1) {
            const std::vector<float> sound = soundOf(bytes.next(), bytes.mostlyShort(block + 1));
            float f0 = -1.0f, confidence = -1.0f;
            const int cents = bytes.next() % 2;
            require(KTessel_DoProcess(sound.data(), static_cast<int>(sound.size()), &f0, &confidence, cents,
                                      engine.handle) == 1);
            requireNumbers(f0, confidence);
        } else if (call == 2) {
            const std::vector<float> sound = soundOf(bytes.next(), bytes.mostlyShort(rate / 4));
            const int count = static_cast<int>(sound.size());
            const auto room = static_cast<std::size_t>(KTessel_GetNumOutputFramesForInputSamples(count, engine.handle));
            std::vector<float> f0(room + 1, -7.0f), confidence(room + 1, -7.0f);
            const int frames =
                KTessel_DoProcessOffline(sound.data(), count, f0.data(), confidence.data(), 0, engine.handle);
            require(frames >= 0 && static_cast<std::size_t>(frames) <= room && f0[room] == -7.0f);
            for (std::size_t f = 0; f < static_cast<std::size_t>(frames); ++f) requireNumbers(f0[f], confidence[f]);
        } else {
            if (call == 3)
                require(KTesselExt_Reset(engine.handle) == KTESSELEXT_OK);
            else
                require(configure(engine.handle) == 0);
            require(configure(fresh.handle) == 0);
            const std::vector<float> sound = soundOf(bytes.next(), std::min(block, rate / 10));
            float values[2][2];
            for (int e = 0; e < 2; ++e)
                for (int repeat = 0; repeat < 2; ++repeat)
                    KTessel_DoProcess(sound.data(), static_cast<int>(sound.size()), &values[e][0], &values[e][1], 0,
                                      e == 0 ? engine.handle : fresh.handle);
            require(values[0][0] == values[1][0] && values[0][1] == values[1][1]);
        }
    }
    return 0;
}
