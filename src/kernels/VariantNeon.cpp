// The kernels for ARM with Advanced SIMD: every 64-bit one, and those 32-bit ones that have it.
#define KATESSEL_LANES 4
#define KATESSEL_TABLE kNeon
#define KATESSEL_NAME "neon"
#include "kernels/VectorKernels.h"
