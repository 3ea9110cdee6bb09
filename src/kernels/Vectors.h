// The vectors of kLanes floats that all kernels of a variant are written in.
//
// Nothing in the files that VectorKernels.h includes may call an inline function from another header, unless it is in
// an unnamed namespace as the transform is: the linker would keep one copy of it, perhaps the one compiled for
// instructions that the machine lacks.
#pragma once

#include <stddef.h>

#include <utility>

namespace KaTessel::kernels {
namespace {

constexpr int kLanes = KATESSEL_LANES;

typedef float V4 __attribute__((vector_size(16)));
typedef float V8 __attribute__((vector_size(32)));
typedef float V16 __attribute__((vector_size(64)));
typedef float Vec __attribute__((vector_size(kLanes * 4)));
typedef int Mask __attribute__((vector_size(kLanes * 4)));
typedef float UnalignedVec __attribute__((vector_size(kLanes * 4), aligned(4), may_alias));
typedef float AlignedVec __attribute__((vector_size(kLanes * 4), may_alias));

#define KATESSEL_INLINE inline __attribute__((always_inline))

KATESSEL_INLINE Vec load(const float* p) { return *reinterpret_cast<const UnalignedVec*>(p); }
KATESSEL_INLINE void store(float* p, Vec v) { *reinterpret_cast<UnalignedVec*>(p) = v; }
KATESSEL_INLINE Vec loadAligned(const float* p) { return *reinterpret_cast<const AlignedVec*>(p); }
KATESSEL_INLINE void storeAligned(float* p, Vec v) { *reinterpret_cast<AlignedVec*>(p) = v; }
KATESSEL_INLINE Vec splat(float x) { return x - Vec{}; }
KATESSEL_INLINE Vec keep(Mask m, Vec v) { return reinterpret_cast<Vec>(m & reinterpret_cast<Mask>(v)); }
KATESSEL_INLINE Vec select(Mask m, Vec yes, Vec no) {
    return reinterpret_cast<Vec>((m & reinterpret_cast<Mask>(yes)) | (~m & reinterpret_cast<Mask>(no)));
}

// Lanes of two vectors, those of `b` numbered on from those of `a`; as many as are named.
template <int... lane, typename Vector>
KATESSEL_INLINE auto shuffled(Vector a, Vector b) {
#if defined(__clang__) || __GNUC__ >= 12
    return __builtin_shufflevector(a, b, lane...);
#else
    typedef int Numbers __attribute__((vector_size(sizeof(Vector))));
    typedef float Lanes __attribute__((vector_size(sizeof...(lane) * sizeof(float))));
    const Vector all = __builtin_shuffle(a, b, Numbers{lane...});
    Lanes first;
    __builtin_memcpy(&first, &all, sizeof first);
    return first;
#endif
}

// A vector folded to four lanes, each a partial sum.
KATESSEL_INLINE V4 fold(V4 v) { return v; }
#if KATESSEL_LANES >= 8
KATESSEL_INLINE V4 fold(V8 v) { return shuffled<0, 1, 2, 3>(v, v) + shuffled<4, 5, 6, 7>(v, v); }
#endif
#if KATESSEL_LANES >= 16
KATESSEL_INLINE V4 fold(V16 v) {
    return fold(shuffled<0, 1, 2, 3, 4, 5, 6, 7>(v, v) + shuffled<8, 9, 10, 11, 12, 13, 14, 15>(v, v));
}
#endif

KATESSEL_INLINE float sum(Vec v) {
    const V4 f = fold(v);
    return (f[0] + f[2]) + (f[1] + f[3]);
}

// The sums of four vectors.
KATESSEL_INLINE V4 sums(Vec a, Vec b, Vec c, Vec d) {
    const V4 fa = fold(a), fb = fold(b), fc = fold(c), fd = fold(d);
    const V4 ab = shuffled<0, 4, 1, 5>(fa, fb) + shuffled<2, 6, 3, 7>(fa, fb);
    const V4 cd = shuffled<0, 4, 1, 5>(fc, fd) + shuffled<2, 6, 3, 7>(fc, fd);
    return shuffled<0, 1, 4, 5>(ab, cd) + shuffled<2, 3, 6, 7>(ab, cd);
}

// Applies f to whole vectors of x and, for the rest, to a vector filled up with zeros.
template <typename Function>
KATESSEL_INLINE void inPlace(float* x, int n, Function f) {
    int i = 0;
    for (; i + kLanes <= n; i += kLanes) store(x + i, f(load(x + i)));
    if (i == n) return;
    float rest[kLanes] = {};
    for (int j = i; j < n; ++j) rest[j - i] = x[j];
    store(rest, f(load(rest)));
    for (int j = i; j < n; ++j) x[j] = rest[j - i];
}

// Lanes of two vectors, of which index(lane) says which: those of `a` from 0 on, those of `b` from kLanes on.
template <int (*index)(int), int... lane>
KATESSEL_INLINE Vec picked(Vec a, Vec b, std::integer_sequence<int, lane...>) {
    return shuffled<index(lane)...>(a, b);
}
template <int (*index)(int)>
KATESSEL_INLINE Vec picked(Vec a, Vec b) {
    return picked<index>(a, b, std::make_integer_sequence<int, kLanes>());
}
constexpr int evenIndex(int lane) { return 2 * lane; }
constexpr int oddIndex(int lane) { return 2 * lane + 1; }
constexpr int lowIndex(int lane) { return lane % 2 * kLanes + lane / 2; }
constexpr int highIndex(int lane) { return lowIndex(lane) + kLanes / 2; }
constexpr int backwardIndex(int lane) { return kLanes - 1 - lane; }

KATESSEL_INLINE Vec evenLanes(Vec a, Vec b) { return picked<evenIndex>(a, b); }
KATESSEL_INLINE Vec oddLanes(Vec a, Vec b) { return picked<oddIndex>(a, b); }
KATESSEL_INLINE Vec lowMixed(Vec a, Vec b) { return picked<lowIndex>(a, b); }    // a0 b0 a1 b1 ..
KATESSEL_INLINE Vec highMixed(Vec a, Vec b) { return picked<highIndex>(a, b); }  // the same of the upper halves
KATESSEL_INLINE Vec backwards(Vec a) { return picked<backwardIndex>(a, a); }

// The sums of kLanes vectors, in their order; the vectors are lost.
KATESSEL_INLINE Vec sumsOfAll(Vec (&v)[kLanes]) {
    for (int half = kLanes / 2; half > 0; half /= 2)
        for (int i = 0; i < half; ++i) v[i] = lowMixed(v[i], v[i + half]) + highMixed(v[i], v[i + half]);
    return v[0];
}

// kLanes vectors as the rows of a matrix, in place to its columns.
KATESSEL_INLINE void transpose(Vec (&rows)[kLanes]) {
    Vec mixed[kLanes];
    for (int count = kLanes; count > 1; count /= 2) {
        for (int i = 0; i < kLanes / 2; ++i) {
            mixed[2 * i] = lowMixed(rows[i], rows[i + kLanes / 2]);
            mixed[2 * i + 1] = highMixed(rows[i], rows[i + kLanes / 2]);
        }
        for (int i = 0; i < kLanes; ++i) rows[i] = mixed[i];
    }
}

}  // namespace
}  // namespace KaTessel::kernels
