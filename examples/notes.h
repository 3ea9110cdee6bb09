/* How the examples name what they hear. */
#ifndef NOTES_H
#define NOTES_H

#include <math.h>
#include <stdio.h>

/* Notes out of frequencies that come every 5 ms. */
struct note_printer {
    int current;  /* MIDI note, 0: none */
    int next;     /* the note that the newest frequencies are nearest to */
    int held;     /* for how many of them */
    double since; /* the instant of the first */
};

/* Prints a note once it was held for 40 ms: the instant [s] it began at, and its name. */
static void print_note(struct note_printer* printer, double instant, float hz, int voiced) {
    static const char* const names[] = {"C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"};
    const int note = voiced ? (int)floor(69.5 + 12.0 * log(hz / 440.0) / log(2.0)) : 0;
    if (note != printer->next) {
        printer->next = note;
        printer->held = 0;
        printer->since = instant;
    }
    if (++printer->held != 8 || note == printer->current) return;
    printer->current = note;
    if (note > 0) printf("%.1f s  %s%d\n", fabs(printer->since), names[note % 12], note / 12 - 1);
}

#endif
