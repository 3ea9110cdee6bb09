/* What the examples listen to. */
#ifndef MELODY_H
#define MELODY_H

#include <math.h>

#define MELODY_SECONDS 1.8

/* Writes 1.8 s at `rate` Hz: four notes of 0.4 s each, 0, 3, 7 and 12 semitones above `lowest` Hz, then silence.
   Returns the number of samples, 1.8 * rate. */
static int make_melody(int rate, double lowest, float* samples) {
    static const int semitones[] = {0, 3, 7, 12};
    const int count = (int)(MELODY_SECONDS * rate + 0.5);
    double phase = 0.0;
    int i, h;
    for (i = 0; i < count; ++i) {
        const int note = (int)(i / (0.4 * rate));
        samples[i] = 0.0f;
        if (note > 3) continue;
        phase += 2.0 * 3.14159265358979 * lowest * pow(2.0, semitones[note] / 12.0) / rate;
        for (h = 1; h <= 8; ++h) samples[i] += (float)(0.2 / h * sin(h * phase));
    }
    return count;
}

#endif
