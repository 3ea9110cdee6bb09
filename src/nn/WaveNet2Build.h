// Building a WaveNet-2 network from weights that were read before.
#pragma once

#include "katessel/LayerWeights.h"
#include "katessel/WaveNet2.h"

namespace KaTessel {

// As wavenet2_init, with the layers of `file`; conf.file is not read.
T_WN2* buildWaveNet2(const T_WN2_conf& conf, LayerFile& file);

}  // namespace KaTessel
