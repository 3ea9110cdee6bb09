// The kernels for AVX2 with fused multiply-add.
#define KATESSEL_LANES 8
#define KATESSEL_TABLE kAvx2
#define KATESSEL_NAME "avx2"
#include "kernels/VectorKernels.h"
