// The kernels for WebAssembly with vectors of 128 bits.
#define KATESSEL_LANES 4
#define KATESSEL_TABLE kSimd128
#define KATESSEL_NAME "simd128"
#include "kernels/VectorKernels.h"
