// The kernels in vectors of kLanes floats: one source for every instruction set.
//
// Included once by each Variant*.cpp, which sets KATESSEL_LANES and names the table; the build gives that file its
// instruction set.
#include "kernels/FrameTransform.h"
#include "kernels/Kernels.h"
#include "kernels/Polyphase.h"
#include "kernels/VectorElements.h"
#include "kernels/VectorLanes.h"
#include "kernels/VectorProducts.h"
#include "kernels/VectorSpectra.h"

namespace KaTessel::kernels {
namespace {

double polyphase(float* out, int count, const float* in, double pos, double step, const float* table, int taps,
                 int phases) {
    return polyphaseBy(dot, out, count, in, pos, step, table, taps, phases);
}

}  // namespace

const Kernels KATESSEL_TABLE = {
    .name = KATESSEL_NAME,
    .lanes = kLanes,
    .blockVectors = kBlockVectors,
    .dot = dot,
    .rowProduct = rowProduct,
    .frameProduct = frameProduct,
    .accumulate = accumulate,
    .scale = scale,
    .multiply = multiply,
    .scaledSum = scaledSum,
    .sigmoid = sigmoid,
    .tanh = hyperbolicTangent,
    .gated = gated,
    .leakyRelu = leakyRelu,
    .magnitude = magnitude,
    .scaledDecibels = scaledDecibels,
    .convolvePairs = convolvePairs,
    .transformFrame = transformFrame,
    .convolveFrame = convolveFrame,
    .transformLanes = transformLanes,
    .convolveLanes = convolveLanes,
    .magnitudeLanes = magnitudeLanes,
    .weightedLanes = weightedLanes,
    .polyphase = polyphase,
};

}  // namespace KaTessel::kernels
