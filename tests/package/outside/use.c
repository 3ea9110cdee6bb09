/* A host in C89 that knows nothing but the installed headers: one second of a 200 Hz tone, live and offline. */
#include <katessel/KTessel.h>
#include <katessel/KTesselExt.h>

#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define RATE 48000
#define BLOCK 240

static int fail(const char* what) {
    printf("failed: %s\n", what);
    return 1;
}

/* The same model from memory, twice with a reset between. */
static int memoryAndReset(const char* model, const float* sound, float expected) {
    static char weights[1 << 20];
    char fault[80];
    float f0 = 0.0f, confidence = 0.0f;
    size_t bytes;
    int i, pass;
    void* engine = KTessel_Create();
    FILE* file = fopen(model, "rb");

    if (file == NULL) return fail("the model's file");
    bytes = fread(weights, 1, sizeof weights, file);
    fclose(file);
    if (KTesselExt_CheckWeights(weights, bytes, fault, sizeof fault) != KTESSELEXT_OK) return fail(fault);
    if (KTesselExt_CheckWeights(weights, bytes / 2, fault, sizeof fault) != KTESSELEXT_BAD_MODEL)
        return fail("a cut model");
    printf("half a model: %s\n", fault);
    if (KTesselExt_ConfigureFromMemory(RATE, BLOCK, weights, bytes, engine) != KTESSELEXT_OK)
        return fail("from memory");
    for (pass = 0; pass < 2; ++pass) {
        for (i = 0; i + BLOCK <= RATE; i += BLOCK) KTessel_DoProcess(sound + i, BLOCK, &f0, &confidence, 0, engine);
        if (f0 != expected) return fail("the same pitch from memory");
        if (KTesselExt_Reset(engine) != KTESSELEXT_OK) return fail("reset");
    }
    KTessel_Destroy(engine);
    return 0;
}

int main(int argc, char** argv) {
    static float sound[RATE];
    static float trackF0[300], trackConfidence[300];
    float f0 = 0.0f, confidence = 0.0f;
    char text[100];
    char* copy;
    void* engine;
    int i, h, frames;

    if (argc != 2) return fail("usage: use MODEL");
    for (i = 0; i < RATE; ++i)
        for (h = 1; h <= 10; ++h) sound[i] += (float)(0.1 / h * sin(2.0 * 3.14159265358979 * 200.0 * h * i / RATE));

    engine = KTessel_Create();
    if (KTessel_Configure(RATE, 0, BLOCK, "/no/such/model", engine) != -1) return fail("a missing model");
    if (KTessel_Configure(RATE, 0, BLOCK, argv[1], engine) != 0) return fail("configure");
    if (KTessel_GetTotalSamplesLatency(engine) != 2160) return fail("latency");
    if (KTessel_GetAnalysisLatency() != 1) return fail("analysis latency");
    for (i = 0; i + BLOCK <= RATE; i += BLOCK)
        if (KTessel_DoProcess(sound + i, BLOCK, &f0, &confidence, 0, engine) != 1) return fail("process");
    printf("live: %.1f Hz, confidence %.2f\n", f0, confidence);
    if (fabs(f0 - 200.0) > 4.0 || confidence < 0.8) return fail("live pitch");

    frames = KTessel_DoProcessOffline(sound, RATE, trackF0, trackConfidence, 0, engine);
    if (frames != KTessel_GetNumOutputFramesForInputSamples(RATE, engine)) return fail("frames");
    printf("offline: %d frames, %.1f Hz in the middle\n", frames, trackF0[100]);
    if (fabs(trackF0[100] - 200.0) > 4.0) return fail("offline pitch");
    if (memoryAndReset(argv[1], sound, f0) != 0) return 1;
    KTessel_Destroy(engine);
    KTessel_Destroy(NULL);

    memset(text, 'x', sizeof text);
    if (KTessel_GetVersionInfo(text) != 34 || strlen(text) != 34) return fail("version info");
    copy = KTessel_GetVer();
    if (strcmp(copy, text) != 0 || strcmp(KTessel_GetVersion(), text) != 0) return fail("version");
    free(copy);
    printf("%s\n", text);
    return 0;
}
