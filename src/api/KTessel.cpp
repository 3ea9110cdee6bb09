// The C interface: one forwarding line per function.
#include "katessel/KTessel.h"

#include <cstdlib>
#include <cstring>

#include "katessel/CTessel.h"

namespace {

// Deliberate: hosts know the interface by this text, which does not follow the library's version; that is in Version.h.
char versionText[] = "KaTesselLib version 1.0 [23042021]";
constexpr std::size_t kVersionCopySize = 100;
static_assert(sizeof versionText <= kVersionCopySize);

KaTessel::CTessel* engine(void* handle) { return static_cast<KaTessel::CTessel*>(handle); }

}  // namespace

extern "C" {

void* KTessel_Create() { return new KaTessel::CTessel; }

void KTessel_Destroy(void* handle) { delete engine(handle); }

int KTessel_Configure(int sampleRate, int reserved, int maxBlockSize, const char* modelPath, void* handle) {
    return engine(handle)->configure(sampleRate, reserved, maxBlockSize, modelPath);
}

int KTessel_DoProcess(const float* input, int numSamples, float* outF0, float* outConfidence, int centsMode,
                      void* handle) {
    return engine(handle)->doProcess(input, numSamples, outF0, outConfidence, centsMode);
}

int KTessel_DoProcessOffline(const float* input, int numSamples, float* outF0, float* outConfidence, int centsMode,
                             void* handle) {
    return engine(handle)->doProcessOffline(input, numSamples, outF0, outConfidence, centsMode);
}

int KTessel_GetAnalysisLatency() { return KaTessel::CTessel::GetAnalysisLatency(); }

int KTessel_GetTotalSamplesLatency(void* handle) { return engine(handle)->GetTotalSamplesLatency(); }

int KTessel_GetNumOutputFramesForInputSamples(int numSamples, void* handle) {
    return engine(handle)->GetNumOutputFramesForInputSamples(numSamples);
}

const char* KTessel_GetVersion() { return versionText; }

char* KTessel_GetVer() {
    char* copy = static_cast<char*>(std::malloc(kVersionCopySize));
    if (copy != nullptr) std::memcpy(copy, versionText, sizeof versionText);
    return copy;
}

int KTessel_GetVersionInfo(char* dst) {
    std::memcpy(dst, versionText, sizeof versionText);
    return sizeof versionText - 1;
}

}  // extern "C"
