/*
 * A recording that is in memory, as the bytes of a WAV file (16 bit), tracked as a whole.
 *
 *     cc 02_recording_in_memory.c $(pkg-config --cflags --libs katessel) -lm && ./a.out MODEL FILE.wav
 */
#include <katessel/KTessel.h>
#include <stdlib.h>
#include <string.h>

#include "notes.h"

struct recording {
    int rate;       /* [Hz] */
    int count;      /* samples */
    float* samples; /* mono, released with free() */
};

static unsigned little_endian(const unsigned char* bytes, int count) {
    unsigned value = 0;
    while (count-- > 0) value = value << 8 | bytes[count];
    return value;
}

/* Mixes the channels of 16-bit samples. Returns 0 where the bytes are no such file. */
static int decode_wav(const unsigned char* bytes, size_t size, struct recording* out) {
    size_t at = 12;
    unsigned channels = 0;
    if (size < 12 || memcmp(bytes, "RIFF", 4) != 0 || memcmp(bytes + 8, "WAVE", 4) != 0) return 0;
    while (size - at >= 8) {
        const unsigned char* chunk = bytes + at + 8;
        size_t length = little_endian(bytes + at + 4, 4);
        if (length > size - at - 8) length = size - at - 8;
        if (memcmp(bytes + at, "fmt ", 4) == 0 && length >= 16) {
            if (little_endian(chunk, 2) != 1 || little_endian(chunk + 14, 2) != 16) return 0;
            channels = little_endian(chunk + 2, 2);
            out->rate = (int)little_endian(chunk + 4, 4);
        }
        if (memcmp(bytes + at, "data", 4) == 0 && channels > 0) {
            int i;
            unsigned c;
            out->count = (int)(length / (2 * channels));
            out->samples = calloc((size_t)out->count + 1, sizeof *out->samples);
            if (out->samples == NULL) return 0;
            for (i = 0; i < out->count; ++i)
                for (c = 0; c < channels; ++c, chunk += 2)
                    out->samples[i] += (float)(short)little_endian(chunk, 2) / 32768.0f / (float)channels;
            return 1;
        }
        if (length + (length & 1) > size - at - 8) return 0;
        at += 8 + length + (length & 1);
    }
    return 0;
}

static unsigned char* load(const char* path, size_t* size) {
    FILE* file = fopen(path, "rb");
    unsigned char* bytes = NULL;
    long end;
    *size = 0;
    if (file == NULL) return NULL;
    if (fseek(file, 0, SEEK_END) == 0 && (end = ftell(file)) > 0 && fseek(file, 0, SEEK_SET) == 0) {
        bytes = malloc((size_t)end);
        if (bytes != NULL) *size = fread(bytes, 1, (size_t)end, file);
    }
    fclose(file);
    return bytes;
}

/* Prints the notes of a recording. Returns 0 when the engine cannot be configured or memory runs out. */
static int print_notes(const struct recording* recording, const char* model) {
    struct note_printer notes = {0, 0, 0, 0.0};
    void* engine = KTessel_Create();
    float *hz = NULL, *confidence = NULL;
    int done = 0;
    if (KTessel_Configure(recording->rate, 0, 1, model, engine) == 0) {
        /* One value more than announced, for recordings of hours. */
        const int room = KTessel_GetNumOutputFramesForInputSamples(recording->count, engine) + 1;
        hz = malloc((size_t)room * sizeof *hz);
        confidence = malloc((size_t)room * sizeof *confidence);
        if (hz != NULL && confidence != NULL) {
            const int frames =
                KTessel_DoProcessOffline(recording->samples, recording->count, hz, confidence, 0, engine);
            int f;
            printf("%d Hz, %d values\n", recording->rate, frames);
            for (f = 0; f < frames; ++f) print_note(&notes, f * 0.005, hz[f], hz[f] > 0.0f && confidence[f] > 0.5f);
            done = 1;
        }
    }
    free(hz);
    free(confidence);
    KTessel_Destroy(engine);
    return done;
}

int main(int argc, char** argv) {
    struct recording recording = {0, 0, NULL};
    unsigned char* bytes = NULL;
    size_t size = 0;
    int status = 1;
    if (argc == 3) bytes = load(argv[2], &size);
    if (bytes == NULL || !decode_wav(bytes, size, &recording) || recording.rate < 1000 || recording.rate > 240000)
        fprintf(stderr, "usage: 02_recording_in_memory MODEL FILE.wav, of 16 bit at 1 to 240 kHz\n");
    else if (print_notes(&recording, argv[1]))
        status = 0;
    else
        fprintf(stderr, "%s: no weight file, or too little memory\n", argv[1]);
    free(recording.samples);
    free(bytes);
    return status;
}
