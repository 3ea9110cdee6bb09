/*
 * KTesselExt.h - what libKaTesselLib offers beyond KTessel.h: start again without a file, weights from memory, and
 * checking weights before an engine sees them. C89 and later.
 *
 * Unlike those of KTessel.h, these functions check their arguments, let no C++ exception through and never end the
 * process. Each returns KTESSELEXT_OK, 0, or one of the negative codes below. Handles are those of KTessel_Create;
 * one engine serves one thread at a time.
 */
#ifndef KATESSEL_KTESSELEXT_H
#define KATESSEL_KTESSELEXT_H

#include <stddef.h>

#include "katessel/KTessel.h"
#include "katessel/Version.h"

#define KTESSELEXT_OK 0
#define KTESSELEXT_BAD_ARGUMENT (-1) /* a null pointer, or a number outside its range */
#define KTESSELEXT_BAD_MODEL (-2)    /* weights that this engine cannot compute with */
#define KTESSELEXT_NO_MEMORY (-3)
#define KTESSELEXT_FAILED (-4) /* anything else */

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Forgets the live signal: the engine goes on as right after it was configured, with the same rate, block size and
 * model, and the pair 0, 0 until the next first frame. Bit for bit the values of a new engine. Reads no file, allocates
 * nothing and takes about as long as writing 120 kB of zeros: fit for an audio thread.
 *
 * Returns KTESSELEXT_BAD_ARGUMENT for a null handle or an engine that was never configured.
 */
KTESSEL_API int KTesselExt_Reset(void* handle);

/*
 * Prepares an engine as KTessel_Configure does, with a model that is in memory. May be called again.
 *
 *   sampleRate    rate of the samples that will be passed in [Hz], 1000 .. 240000
 *   maxBlockSize  most samples that one KTessel_DoProcess call will pass, 1 .. sampleRate
 *   weights       the content of a layer weight file; not used any more once the call returns
 *   bytes         its length
 *
 * On KTESSELEXT_BAD_ARGUMENT and KTESSELEXT_BAD_MODEL (KTesselExt_CheckWeights says why) the engine is as it was. On
 * KTESSELEXT_NO_MEMORY and KTESSELEXT_FAILED it must be configured again before it can be used.
 */
KTESSEL_API int KTesselExt_ConfigureFromMemory(int sampleRate, int maxBlockSize, const void* weights, size_t bytes,
                                               void* handle);

/*
 * Whether an engine can compute with weights: every layer that it needs is there, in the right shape and with finite
 * values. Needs no engine.
 *
 *   weights  the content of a layer weight file, `bytes` bytes
 *   fault    receives the first fault as one line of text, such as "byte 557123: expected layer enc_out2 with weights
 *            [120,2], found [60,4]", cut to `room` bytes with its NUL; the empty text when there is none; may be null
 *            where room is 0
 *
 * Returns KTESSELEXT_OK or KTESSELEXT_BAD_MODEL, or another code when it could not find out.
 */
KTESSEL_API int KTesselExt_CheckWeights(const void* weights, size_t bytes, char* fault, size_t room);

/* The same for a file. One that cannot be read is KTESSELEXT_BAD_MODEL. */
KTESSEL_API int KTesselExt_CheckWeightFile(const char* path, char* fault, size_t room);

#ifdef __cplusplus
}
#endif

#endif
