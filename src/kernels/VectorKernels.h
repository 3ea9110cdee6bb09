// The kernels in vectors of kLanes floats: one source for every instruction set.
//
// Included once by each Variant*.cpp, which sets KATESSEL_LANES and names the table; the build gives that file its
// instruction set.
#include "kernels/FrameTransform.h"
#include "kernels/Kernels.h"
#include "kernels/VectorElements.h"
#include "kernels/VectorLanes.h"
#include "kernels/VectorPolyphase.h"
#include "kernels/VectorProducts.h"
#include "kernels/VectorSpectra.h"

namespace KaTessel::kernels {

const Kernels KATESSEL_TABLE = {
    .name = KATESSEL_NAME,
    .lanes = kLanes,
    .blockVectors = kBlockVectors,
    .dot = dot,
    .rowProduct = rowProduct,
    .frameProduct = frameProduct,
    .shortDots = shortDots,
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
    .placeLanes = placeLanes,
    .convolveLanes = convolveLanes,
    .magnitudeLanes = magnitudeLanes,
    .weightedLanes = weightedLanes,
    .polyphase = polyphase,
    .countedPolyphase = countedPolyphase,
};

}  // namespace KaTessel::kernels
