// Every stage of a frame beside what this processor needs for it at best, all in one run.
//
// Processor time of the thread, the minimum of many short repetitions that take turns, so that a machine that slows
// down for a while slows all of them down. KATESSEL_ISA=scalar|sse2|avx2|avx512 forces a variant.
#include <time.h>

#include <sys/mman.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Floors.h"
#include "katessel/EngineFacts.hpp"
#include "katessel/InstructionSet.h"
#include "katessel/KaTessel.h"

namespace {

using KaTessel::CTessel;
namespace facts = KaTessel::facts;

constexpr int kRounds = 60, kVoices = 500;
constexpr int kLongFrames = 496, kShortFrames = 40;  // of 5 ms
constexpr int kHops = 3900;

double threadSeconds() {
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

// A voice-like tone: 20 harmonics that glide around 140 Hz, and a little noise.
std::vector<float> voice(int rate, int seconds) {
    std::vector<float> x(static_cast<std::size_t>(rate * seconds));
    double phase = 0.0;
    unsigned state = 1;
    for (std::size_t i = 0; i < x.size(); ++i) {
        phase += 6.283185307179586 * (140.0 + 20.0 * std::sin(9.0 * static_cast<double>(i) / rate)) / rate;
        double sum = 0.0;
        for (int h = 1; h <= 20; ++h) sum += std::sin(h * phase) / h;
        state = state * 1664525u + 1013904223u;
        x[i] = static_cast<float>(0.1 * sum + (state >> 8) * (0.002 / 16777216));
    }
    return x;
}

// Measurements by name, taken in turns.
class Table {
public:
    // `divisor` frames are done by every call of `work`, of which `calls` are timed together.
    void add(const std::string& name, int calls, std::function<void()> work, double divisor = 1.0) {
        m_rows.push_back({name, calls, std::move(work), divisor});
    }

    void measure() {
        for (int round = 0; round < kRounds; ++round)
            for (const Row& row : m_rows) {
                row.work();
                const double start = threadSeconds();
                for (int c = 0; c < row.calls; ++c) row.work();
                const double each = 1e6 * (threadSeconds() - start) / (row.calls * row.divisor);
                double& best = m_best.try_emplace(row.name, each).first->second;
                best = std::min(best, each);
            }
    }

    double operator[](const std::string& name) const { return m_best.at(name); }  // [microseconds]

private:
    struct Row {
        std::string name;
        int calls;
        std::function<void()> work;
        double divisor;
    };
    std::vector<Row> m_rows;
    std::map<std::string, double> m_best;
};

// A stream that never ends: one hop per call.
struct Stream {
    Stream(int rate, const std::vector<float>& heard) : sound(heard), hop(rate / 200) {
        engine.configure(rate, 0, hop, KATESSEL_MODEL);
        for (int i = 0; i < 50; ++i) next();
    }
    void next() {
        engine.doProcess(sound.data() + at * hop, hop, &f0, &confidence, 0);
        at = (at + 1) % kHops;
    }
    CTessel engine;
    const std::vector<float>& sound;
    int hop, at = 0;
    float f0 = 0.0f, confidence = 0.0f;
};

void addOffline(Table& table, const std::string& name, CTessel& engine, const std::vector<float>& sound, int frames) {
    const int samples = frames * engine.sampleRate / 200;
    const auto out = std::make_shared<std::vector<float>>(2 * static_cast<std::size_t>(frames));
    table.add(
        name, frames < 100 ? 8 : 1,
        [&engine, &sound, samples, frames, out] {
            engine.doProcessOffline(sound.data(), samples, out->data(), out->data() + frames, 0);
        },
        frames);
}

void print(const char* stage, double time, const char* against, double floor) {
    std::printf("%-34s %9.2f   %-36s %8.2f %8.2f\n", stage, time, against, floor, time / floor);
}

long residentKilobytes() {
    std::ifstream file("/proc/self/statm");
    long total = 0, resident = 0;
    file >> total >> resident;
    return resident * 4;
}

// Every stage and its floor. Returns the time of a live frame at 24 kHz.
double printStages(const std::string& isa) {
    const Floors floors = makeFloors(isa == "avx512" ? 16 : isa == "avx2" ? 8 : 4);
    const std::vector<float> sound24 = voice(24000, 20), sound48 = voice(48000, 20);
    std::vector<float> denormal(sound24.size());
    for (std::size_t i = 0; i < denormal.size(); ++i) denormal[i] = sound24[i] < 0.0f ? -1e-40f : 1e-40f;

    Table table;
    table.add("fftw", 50, floors.transform);
    table.add("fftw many", 10, floors.transforms, Floors::kTogether);
    table.add("convolution", 50, floors.convolution);
    table.add("lane convolution", 5, floors.laneConvolution, floors.lanes);
    table.add("packed network", 20, floors.network);
    table.add("packed heads", 50, floors.heads);
    table.add("packed resampling", 50, floors.resampling);
    table.add("matrix product", 1, floors.matrixProduct, Floors::kMatrixProducts);

    Stream live24(24000, sound24), live48(48000, sound48), quiet(24000, denormal);
    CTessel& engine = live24.engine;
    CTessel whole24, whole48;
    whole24.configure(24000, 0, 120, KATESSEL_MODEL);
    whole48.configure(48000, 0, 240, KATESSEL_MODEL);
    std::vector<float> features(facts::kBands), hop(facts::kHop);
    table.add("live 24", 32, [&] { live24.next(); });
    table.add("live 48", 32, [&] { live48.next(); });
    table.add("denormal", 32, [&] { quiet.next(); });
    table.add("spectrum", 32, [&] { engine.spectrumStage(engine.frame); });
    table.add("bands", 100, [&] { engine.bandStage(features.data()); });
    table.add("network", 32, [&] { engine.networkStage(features.data()); });
    table.add("heads", 32, [&] {
        std::fill_n(engine.encoder->skipSum, engine.encoder->nSkip, -0.3f);
        engine.headStage();
    });
    table.add("resample", 40, [&] { live48.engine.resampler.doProcess(sound48.data(), 240, hop.data(), 2.0f, 120); });
    addOffline(table, "offline 24", whole24, sound24, kLongFrames);
    addOffline(table, "offline 48", whole48, sound48, kLongFrames);
    addOffline(table, "offline short", whole24, sound24, kShortFrames);
    table.measure();

    const double floor24 = table["fftw"] + table["convolution"] + table["packed network"] + table["packed heads"];
    const double gemm = table["matrix product"] * Floors::kProducts;
    const double offlineFloor = gemm + table["fftw many"] + table["lane convolution"];
    print("live, 24 kHz", table["live 24"], "transform, convolution, products", floor24);
    print("live, 48 kHz", table["live 48"], "the same and resampling", floor24 + table["packed resampling"]);
    print("  spectrum", table["spectrum"], "FFTW 1024, 299 bins of 41 taps", table["fftw"] + table["convolution"]);
    std::printf("%-34s %9.2f\n", "  bands", table["bands"]);
    print("  network", table["network"], "packed columns", table["packed network"]);
    print("  heads", table["heads"], "packed columns", table["packed heads"]);
    print("  resampling a 48 kHz hop", table["resample"], "3840 products", table["packed resampling"]);
    print("offline 2.48 s, 24 kHz", table["offline 24"], "matrix products, FFTW, convolution", offlineFloor);
    print("offline 2.48 s, 48 kHz", table["offline 48"], "the same", offlineFloor);
    print("offline 0.2 s, 24 kHz", table["offline short"], "the same", offlineFloor);
    print("live, noise of 1e-40", table["denormal"], "live, 24 kHz", table["live 24"]);
    return table["live 24"];
}

// Time to get so much memory from the system and to write to it: what an engine cannot do without.
double millisecondsOfMemory(double kilobytes) {
    std::vector<double> times;
    std::vector<std::vector<char>> pieces;
    for (int i = 0; i < 100; ++i) {
        const double start = threadSeconds();
        pieces.emplace_back(static_cast<std::size_t>(1024.0 * kilobytes), '\1');
        times.push_back(1e3 * (threadSeconds() - start));
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

// What a further engine keeps in memory [KB] where nothing may be paged out, as in audio hosts; 0: that is not allowed here.
double lockedKilobytes() {
    constexpr int kEngines = 50;
    if (mlockall(MCL_CURRENT | MCL_FUTURE) != 0) return 0.0;
    std::vector<std::unique_ptr<CTessel>> engines;
    const long before = residentKilobytes();
    for (int i = 0; i < kEngines; ++i) {
        engines.push_back(std::make_unique<CTessel>());
        engines.back()->configure(48000, 0, 240, KATESSEL_MODEL);
    }
    const double each = static_cast<double>(residentKilobytes() - before) / kEngines;
    munlockall();
    return each;
}

// What many voices of one process cost, and the beginning of one. Nothing else may be configured meanwhile.
void printVoices(double liveFrame) {
    double alone = 1e9;
    for (int i = 0; i < 20; ++i) {
        CTessel engine;
        const double start = threadSeconds();
        engine.configure(24000, 0, 120, KATESSEL_MODEL);
        alone = std::min(alone, threadSeconds() - start);
    }
    const std::vector<float> sound = voice(24000, 1);
    std::vector<double> configuring, firstFrames;
    std::vector<std::unique_ptr<CTessel>> voices;
    float f0, confidence;
    const long before = residentKilobytes();
    for (int v = 0; v < kVoices; ++v) {
        CTessel& engine = *voices.emplace_back(std::make_unique<CTessel>());
        const double start = threadSeconds();
        engine.configure(24000, 0, 120, KATESSEL_MODEL);
        configuring.push_back(1e3 * (threadSeconds() - start));
        engine.doProcess(sound.data(), facts::kWindow - 1, &f0, &confidence, 0);
        const double first = threadSeconds();
        engine.doProcess(sound.data() + facts::kWindow - 1, 1, &f0, &confidence, 0);
        firstFrames.push_back(1e6 * (threadSeconds() - first));
    }
    const double each = static_cast<double>(residentKilobytes() - before) / kVoices;
    double inTurn = 1e9;
    for (int round = 0; round < 12; ++round) {
        const double start = threadSeconds();
        for (const auto& engine : voices)
            engine->doProcess(sound.data() + round * facts::kHop, facts::kHop, &f0, &confidence, 0);
        inTurn = std::min(inTurn, 1e6 * (threadSeconds() - start) / kVoices);
    }
    for (std::vector<double>* times : {&configuring, &firstFrames}) std::sort(times->begin(), times->end());
    print("500 engines in turn, each", inTurn, "live, 24 kHz", liveFrame);
    print("first frame, median of 500", firstFrames[kVoices / 2], "live, 24 kHz", liveFrame);
    std::printf("%-34s %9.2f ms\n", "configure the first engine", 1e3 * alone);
    std::printf("%-34s %9.2f ms, of which %.2f for its memory\n", "configure a further one, median",
                configuring[kVoices / 2], millisecondsOfMemory(each));
    std::printf("%-34s %9.0f KB resident\n", "a further engine", each);
    std::printf("%-34s %9.0f KB resident\n", "a further one under mlockall", lockedKilobytes());
}

}  // namespace

int main() {
    if (const char* isa = std::getenv("KATESSEL_ISA"); isa != nullptr && !KaTessel::forceInstructionSet(isa)) {
        std::fprintf(stderr, "katessel-stages: KATESSEL_ISA=%s: this machine cannot run it\n", isa);
        return 2;
    }
    const std::string isa = KaTessel::instructionSet();
    std::printf("instruction set %s\n%-34s %9s   %-36s %8s %8s\n", isa.c_str(), "microseconds a frame", "now", "floor",
                "floor", "ratio");
    printVoices(printStages(isa));
    return 0;
}
