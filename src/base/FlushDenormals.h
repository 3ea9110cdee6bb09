// Arithmetic without denormal numbers, for as long as an object of this lives.
//
// Below 1e-38 every operation takes a hundred times as long on many processors, and nothing that the engine tells apart
// is as quiet.
#pragma once

#if defined(__SSE__)
#include <xmmintrin.h>
#endif

namespace KaTessel {

// The register that says how a processor computes. Where none has such a bit, denormal numbers stay.
struct ArithmeticRegister {
#if defined(__SSE__)
    using Value = unsigned;
    static constexpr Value kFlush = 0x8040;  // results to zero, and arguments
    static Value get() { return _mm_getcsr(); }
    static void set(Value value) { _mm_setcsr(value); }
#elif defined(__aarch64__)
    using Value = unsigned long;
    static constexpr Value kFlush = 1ul << 24;
    static Value get() {
        Value value;
        asm volatile("mrs %0, fpcr" : "=r"(value));
        return value;
    }
    static void set(Value value) { asm volatile("msr fpcr, %0" : : "r"(value)); }
#elif defined(__arm__) && defined(__ARM_FP)
    using Value = unsigned;
    static constexpr Value kFlush = 1u << 24;
    static Value get() {
        Value value;
        asm volatile("vmrs %0, fpscr" : "=r"(value));
        return value;
    }
    static void set(Value value) { asm volatile("vmsr fpscr, %0" : : "r"(value)); }
#else
    using Value = unsigned;
    static constexpr Value kFlush = 0;
    static Value get() { return 0; }
    static void set(Value) {}
#endif
};

class FlushDenormals {
public:
    static constexpr bool kWorks = ArithmeticRegister::kFlush != 0;

    FlushDenormals() : m_before(ArithmeticRegister::get()) {
        ArithmeticRegister::set(m_before | ArithmeticRegister::kFlush);
    }
    ~FlushDenormals() { ArithmeticRegister::set(m_before); }
    FlushDenormals(const FlushDenormals&) = delete;
    FlushDenormals& operator=(const FlushDenormals&) = delete;

private:
    ArithmeticRegister::Value m_before;
};

}  // namespace KaTessel
