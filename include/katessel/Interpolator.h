// Band-limited interpolation: a polyphase FIR, linearly interpolated between its phases.
//
// After Julius O. Smith, "Digital Audio Resampling" (bandlimited interpolation), 1984-2002.
#ifndef KATESSEL_INTERPOLATOR_H
#define KATESSEL_INTERPOLATOR_H

#include "katessel/Export.h"

namespace KaResample {

class KATESSEL_API Interpolator {
public:
    Interpolator() = default;
    ~Interpolator();
    Interpolator(const Interpolator&) = delete;
    Interpolator& operator=(const Interpolator&) = delete;

    int taps = 0;            // FIR length of one phase
    int phases = 0;          // phases between two input samples
    float* table = nullptr;  // (phases + 1) rows of `taps`, 16-byte aligned; null when it could not be allocated

    // Sets the filter.
    //   c          phases * taps coefficients of the prototype; with polyphase also c[-1] is read
    //   polyphase  false: rows are c as it stands (the last row stays unset); true: row p, tap j is
    //              c[j * phases + phases - 1 - p]
    //   gain       factor on every coefficient; 0: `phases`
    void setFIR(double const* c, int taps, int phases, bool polyphase, double gain);

    // Renders `count` samples at the positions pos, pos + step, .. of `in`; position x reads in[(int)x] and the
    // taps - 1 samples after it. Returns the position after the last output.
    double render1(float const* in, double pos, double step, float* out, int count);

    // The same, for the shapes that their names say; 16 phases each.
    double render1simd(float const* in, double pos, double step, float* out, int count);
    double sse16x16(float const* in, double pos, double step, float* out, int count);  // 16 taps
    double sse8x16(float const* in, double pos, double step, float* out, int count);   // 8 taps

    // Straight lines between neighbouring samples, without the filter: position x reads in[(int)x] and the next.
    double linear(float const* in, double pos, double step, float* out, int count);
};

}  // namespace KaResample

#endif
