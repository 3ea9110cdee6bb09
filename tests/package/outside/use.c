/* A host in C89 that knows nothing but the installed header: one second of a 200 Hz tone, live and offline. */
#include <katessel/KTessel.h>

#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define RATE 48000
#define BLOCK 240

static int fail(const char* what)
{
    printf("failed: %s\n", what);
    return 1;
}

int main(int argc, char** argv)
{
    static float sound[RATE];
    static float trackF0[300], trackConfidence[300];
    float f0 = 0.0f, confidence = 0.0f;
    char text[100];
    char* copy;
    void* engine;
    int i, h, frames;

    if (argc != 2) return fail("usage: use MODEL");
    for (i = 0; i < RATE; ++i)
        for (h = 1; h <= 10; ++h)
            sound[i] += (float)(0.1 / h * sin(2.0 * 3.14159265358979 * 200.0 * h * i / RATE));

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
