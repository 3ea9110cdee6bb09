// What a configured engine holds besides its public fields.
#pragma once

#include <memory>

#include "engine/EngineModel.h"
#include "katessel/EngineFacts.hpp"

namespace KaTessel {

struct OfflineForm;  // of the engine, for whole recordings

struct Prepared {
    // Of a configured engine.
    static Prepared& of(const CTessel& engine) { return *static_cast<Prepared*>(engine.m_prepared.get()); }

    std::shared_ptr<const EngineModel> model;
    float features[facts::kBands] = {};    // of the current frame
    std::unique_ptr<float[]> spectrum;     // what complexSpectrum becomes with the first frame
    std::shared_ptr<OfflineForm> offline;  // made by the first whole recording
};

}  // namespace KaTessel
