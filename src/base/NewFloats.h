// Arrays of zeros, with the exception for a negative size that the language promises.
#pragma once

#include <new>

namespace KaTessel {

// n zeros by array new. Compilers differ in what a negative size throws; this is always std::bad_array_new_length.
inline float* newFloats(long n) {
    if (n < 0) throw std::bad_array_new_length();
    return new float[static_cast<unsigned long>(n)]();
}

}  // namespace KaTessel
