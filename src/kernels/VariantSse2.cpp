// The kernels for every x86-64.
#define KATESSEL_LANES 4
#define KATESSEL_TABLE kSse2
#define KATESSEL_NAME "sse2"
#include "kernels/VectorKernels.h"
