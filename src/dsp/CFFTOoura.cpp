// The transform's pieces for one signal, by the names of the package.
#include "katessel/CFFTOoura.h"

#include "fft/FftReal.h"

namespace KaTessel {

void CFFTOoura::forward(int n, float* a) { forwardTransform(n, a); }
void CFFTOoura::backward(int n, float* a) { backwardTransform(n, a); }
void CFFTOoura::realPost(int n, float* a) { mixMirroredBins<false>(n, a); }
void CFFTOoura::realPre(int n, float* a) { mixMirroredBins<true>(n, a); }
void CFFTOoura::bitrv2(int n, float* a) { reverseBits<false>(n, a); }
void CFFTOoura::bitrv2conj(int n, float* a) { reverseBits<true>(n, a); }
void CFFTOoura::cftb1st(int n, float* a) { firstKindStage<true>(n, a); }
void CFFTOoura::cftmdl1(int n, float* a) { firstKindStage<false>(n, a); }
void CFFTOoura::cftmdl2(int n, float* a) { secondKindStage(n, a); }
void CFFTOoura::cftf161(float* a) { sixteen1(a); }
void CFFTOoura::cftf162(float* a) { sixteen2(a); }
void CFFTOoura::cftf081(float* a) { eight1(a); }
void CFFTOoura::cftf082(float* a) { eight2(a); }
void CFFTOoura::cftf040(float* a) { fourInOrder(a); }
void CFFTOoura::cftfx41(int n, float* a) { shortBlocks(n, a); }
void CFFTOoura::cftleaf(int n, int isplt, float* a) { leafBlocks(n, isplt != 0, a); }
void CFFTOoura::cftrec4(int n, float* a) { recursiveBlocks(n, a); }

}  // namespace KaTessel
