// Everything: the C interface, the engine CTessel and the toolkit that it is built from. C++11 and later.
#ifndef KATESSEL_KATESSEL_H
#define KATESSEL_KATESSEL_H

#include "katessel/CFFTOoura.h"
#include "katessel/CKaResample.h"
#include "katessel/CTessel.h"
#include "katessel/Conv1x1.h"
#include "katessel/FeedForwardStack.h"
#include "katessel/FloatBuffer.h"
#include "katessel/FrameMatrix.h"
#include "katessel/Globals.h"
#include "katessel/Gru.h"
#include "katessel/IniFile.h"
#include "katessel/InstructionSet.h"
#include "katessel/Interpolator.h"
#include "katessel/KTessel.h"
#include "katessel/KTesselExt.h"
#include "katessel/LayerWeights.h"
#include "katessel/MRSpectrum.h"
#include "katessel/ValueEncodings.h"
#include "katessel/Version.h"
#include "katessel/WaveNet2.h"

#endif
