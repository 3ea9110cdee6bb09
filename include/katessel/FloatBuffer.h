// Zero-filled float arrays: how every layer of the toolkit keeps weights, histories and scratch.
#ifndef KATESSEL_FLOATBUFFER_H
#define KATESSEL_FLOATBUFFER_H

#include "katessel/Export.h"

namespace KaTessel {

// Points p at a new array of n zeros. What p pointed to before is not released.
// A negative n throws std::bad_array_new_length.
KATESSEL_API void init_buf(float*& p, int n);

// Releases the array and sets p to null; a null p is left alone.
KATESSEL_API void free_buf(float*& p);

}  // namespace KaTessel

#endif
