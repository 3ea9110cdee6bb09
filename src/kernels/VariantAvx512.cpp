// The kernels for AVX-512 (F, DQ, BW, VL).
#define KATESSEL_LANES 16
#define KATESSEL_TABLE kAvx512
#define KATESSEL_NAME "avx512"
#include "kernels/VectorKernels.h"
