// What a configured engine holds besides its public fields.
#pragma once

#include <memory>

#include "engine/EngineModel.h"

namespace KaTessel {

struct CTessel::Prepared {
    std::shared_ptr<const EngineModel> model;
};

}  // namespace KaTessel
