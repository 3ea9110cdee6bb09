#include "katessel/FloatBuffer.h"

#include "base/NewFloats.h"

namespace KaTessel {

void init_buf(float*& p, int n) { p = newFloats(n); }

void free_buf(float*& p) {
    delete[] p;
    p = nullptr;
}

}  // namespace KaTessel
