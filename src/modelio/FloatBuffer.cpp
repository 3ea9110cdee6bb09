#include "katessel/FloatBuffer.h"

namespace KaTessel {

void init_buf(float*& p, int n) { p = new float[n](); }

void free_buf(float*& p) {
    delete[] p;
    p = nullptr;
}

}  // namespace KaTessel
