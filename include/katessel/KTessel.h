/*
 * KTessel.h - the C interface of libKaTesselLib: the pitch of one voice or instrument, every 5 ms.
 *
 * An engine is made with KTessel_Create, configured once with the sample rate, the largest block and a
 * weight file, fed blocks of mono samples with KTessel_DoProcess (or a whole recording with
 * KTessel_DoProcessOffline), and released with KTessel_Destroy.
 *
 * No function checks its arguments: a null or unconfigured handle, a null output or a negative count is
 * undefined behaviour. One engine serves one thread at a time; different engines share only an accumulator of
 * processor time (see docs/hosts.md). When memory runs out, the C++ exception std::bad_alloc leaves the call.
 * Functions that check, take weights from memory or start a live signal again are in KTesselExt.h.
 */
#ifndef KATESSEL_KTESSEL_H
#define KATESSEL_KTESSEL_H

#ifdef _WIN32
#define KTESSEL_API
#else
#define KTESSEL_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Makes an engine. It must be configured before anything is processed; release it with KTessel_Destroy. */
KTESSEL_API void* KTessel_Create(void);

/* Releases an engine and everything it owns. A null handle is ignored. */
KTESSEL_API void KTessel_Destroy(void* handle);

/*
 * Prepares an engine. May be called again to change rate, block size or model: the engine then starts anew, like a new
 * one, and what it heard before is forgotten.
 *
 *   sampleRate    rate of the samples that will be passed in [Hz], 1000 .. 240000
 *   reserved      ignored; pass 0
 *   maxBlockSize  most samples that one KTessel_DoProcess call will pass
 *   modelPath     layer weight file; read once, here. One that others may be reading is best replaced by renaming the
 *                 new file to its name: every engine then has all layers of the old or of the new one. Of those that
 *                 come with the library, live.weights is for KTessel_DoProcess, offline.weights for
 *                 KTessel_DoProcessOffline and default.weights for both; the first two need not be there.
 *
 * Returns 0, or -1 (and changes nothing) when there is no file at modelPath. A folder, like any file
 * without layers, is read as one that lacks them all. A layer that the file lacks is
 * reported on standard output ("WARNING: NAME not loaded!") and computes as zeros: with nothing loaded every
 * frame reads 239.3 Hz live, 240.6 Hz offline, with confidence 1. A layer of the wrong size is reported there and ends
 * the process with status 255. Check files that you do not know before: KTesselExt_CheckWeightFile.
 */
KTESSEL_API int KTessel_Configure(int sampleRate, int reserved, int maxBlockSize, const char* modelPath, void* handle);

/*
 * Takes one block of a live signal. Allocates nothing.
 *
 *   input          numSamples mono samples at the configured rate, nominally -1 .. 1
 *   numSamples     0 .. maxBlockSize, and at most 0.95 s: the engine remembers one second
 *   outF0          one value: frequency [Hz], 0 where it would be below 1.4 Hz; or, with centsMode, the pitch in cents
 *                  above 440 Hz
 *   outConfidence  one value, 0 or more: about the probability that the frame is voiced and its frequency within 50
 *                  cents. Unvoiced are the frames whose confidence is below a threshold; many of them have a frequency all the same. The model's card, the
 *                  JSON file beside the weight file, gives its threshold as "default_threshold": 0.4 for the default one.
 *   centsMode      0 for Hz, anything else for cents
 *
 * Both outputs receive the last frame that this call completed or, when it completed none, the pair of the
 * frame before, in the unit that it was asked for in; before the first frame the pair is 0, 0. At 24000 Hz the first frame comes with sample 1024, then one every 120 samples.
 * Returns 1.
 */
KTESSEL_API int KTessel_DoProcess(const float* input, int numSamples, float* outF0, float* outConfidence, int centsMode,
                                  void* handle);

/*
 * Analyses a whole signal; a live signal in progress on the same engine is not disturbed.
 *
 *   input          numSamples mono samples at the configured rate; as many as an int can say, at every rate: 24.8 hours
 *                  at 24 kHz, 12.4 at 48. Longer signals are analysed in parts with some sound around each.
 *   outF0          one value per frame, as above
 *   outConfidence  one value per frame, as above
 *   centsMode      0 for Hz, anything else for cents
 *
 * Frame f is centred on the instant f * 5 ms. Both arrays need room for
 * KTessel_GetNumOutputFramesForInputSamples(numSamples, handle) values, and one more for signals of hours.
 * Returns the number of frames written to each array: whole 5 ms hops in the signal.
 */
KTESSEL_API int KTessel_DoProcessOffline(const float* input, int numSamples, float* outF0, float* outConfidence,
                                         int centsMode, void* handle);

/* Returns the analysis latency, always 1 [frames]. */
KTESSEL_API int KTessel_GetAnalysisLatency(void);

/* Returns the latency of a configured engine [samples at the configured rate]; 2160 at 48000 Hz. */
KTESSEL_API int KTessel_GetTotalSamplesLatency(void* handle);

/* Returns how many 5 ms hops numSamples samples hold, rounded to nearest, on a configured engine. */
KTESSEL_API int KTessel_GetNumOutputFramesForInputSamples(int numSamples, void* handle);

/* Returns the version text, a NUL-terminated string that belongs to the library. */
KTESSEL_API const char* KTessel_GetVersion(void);

/* Returns a copy of the version text in a new block of 100 bytes, which the caller releases with free(). */
KTESSEL_API char* KTessel_GetVer(void);

/* Copies the version text with its NUL to dst (35 bytes, not checked). Returns its length without the NUL, 34. */
KTESSEL_API int KTessel_GetVersionInfo(char* dst);

#ifdef __cplusplus
}
#endif

#endif
