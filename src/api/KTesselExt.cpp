// The C interface beyond the eleven functions. Nothing is thrown through it.
#include "katessel/KTesselExt.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string>

#include "katessel/CTessel.h"
#include "katessel/EngineFacts.hpp"
#include "katessel/ModelCheck.hpp"

namespace {

using KaTessel::LayerFile;

template <class Work>
int guarded(Work work) noexcept {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        return KTESSELEXT_NO_MEMORY;
    } catch (...) {
        return KTESSELEXT_FAILED;
    }
}

int told(const std::string& text, char* fault, size_t room) {
    if (room > 0) {
        const size_t length = std::min(text.size(), room - 1);
        std::memcpy(fault, text.data(), length);
        fault[length] = '\0';
    }
    return text.empty() ? KTESSELEXT_OK : KTESSELEXT_BAD_MODEL;
}

// The first fault of a file that `read` reads, or an empty text.
template <class Read>
std::string firstFault(LayerFile& file, Read read) {
    std::string why;
    if (!read(&why)) return KaTessel::detail::formatFault(file, why).text();
    const std::vector<KaTessel::ModelFault> faults = KaTessel::engineFaults(file);
    return faults.empty() ? std::string() : faults.front().text();
}

}  // namespace

extern "C" {

int KTesselExt_Reset(void* handle) {
    auto* const engine = static_cast<KaTessel::CTessel*>(handle);
    if (engine == nullptr || engine->encoder == nullptr) return KTESSELEXT_BAD_ARGUMENT;
    engine->reset();
    return KTESSELEXT_OK;
}

int KTesselExt_ConfigureFromMemory(int sampleRate, int maxBlockSize, const void* weights, size_t bytes, void* handle) {
    using namespace KaTessel::facts;
    if (weights == nullptr || handle == nullptr || sampleRate < kLowestRate || sampleRate > kHighestRate ||
        maxBlockSize < 1 || maxBlockSize > sampleRate)
        return KTESSELEXT_BAD_ARGUMENT;
    return guarded([=] {
        LayerFile file;
        if (!firstFault(file, [&](std::string* why) { return file.read(weights, bytes, why); }).empty())
            return KTESSELEXT_BAD_MODEL;
        return static_cast<KaTessel::CTessel*>(handle)->configure(sampleRate, 0, maxBlockSize, file);
    });
}

int KTesselExt_CheckWeights(const void* weights, size_t bytes, char* fault, size_t room) {
    if (weights == nullptr || (fault == nullptr && room > 0)) return KTESSELEXT_BAD_ARGUMENT;
    return guarded([=] {
        LayerFile file;
        return told(firstFault(file, [&](std::string* why) { return file.read(weights, bytes, why); }), fault, room);
    });
}

int KTesselExt_CheckWeightFile(const char* path, char* fault, size_t room) {
    if (path == nullptr || (fault == nullptr && room > 0)) return KTESSELEXT_BAD_ARGUMENT;
    return guarded([=] {
        LayerFile file;
        return told(firstFault(file, [&](std::string* why) { return file.read(path, why); }), fault, room);
    });
}

}  // extern "C"
