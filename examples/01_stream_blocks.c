/*
 * A host in C: blocks of 240 samples at 48 kHz as an audio device would bring them, and one value for each.
 *
 *     cc 01_stream_blocks.c $(pkg-config --cflags --libs katessel) -lm && ./a.out MODEL
 *
 * A block of 5 ms brings a new value with every call; docs/hosts.md lists the block sizes that lose no sample.
 */
#include <katessel/KTessel.h>
#include <stdlib.h>

#include "melody.h"
#include "notes.h"

#define RATE 48000
#define BLOCK 240

int main(int argc, char** argv) {
    float* sound = malloc((size_t)(MELODY_SECONDS * RATE + 1) * sizeof *sound);
    struct note_printer notes = {0, 0, 0, 0.0};
    void* engine = KTessel_Create();
    int count, i, latency;

    if (argc != 2 || sound == NULL || KTessel_Configure(RATE, 0, BLOCK, argv[1], engine) != 0) {
        fprintf(stderr, "usage: 01_stream_blocks MODEL, an existing weight file\n");
        return 2;
    }
    count = make_melody(RATE, 220.0, sound);
    latency = KTessel_GetTotalSamplesLatency(engine);
    for (i = 0; i + BLOCK <= count; i += BLOCK) {
        float hz, confidence;
        KTessel_DoProcess(sound + i, BLOCK, &hz, &confidence, 0, engine);
        /* The value is about the sound of `latency` samples ago. */
        print_note(&notes, (double)(i + BLOCK - latency) / RATE, hz, hz > 0.0f && confidence > 0.5f);
    }
    KTessel_Destroy(engine);
    free(sound);
    return 0;
}
