#!/usr/bin/env bash
# Compares what the shared library exports with what it should: the eleven C functions, and for the rest only names
# of the two C++ namespaces, none of which is an internal one.
set -euo pipefail
library=$1
here=$(dirname "$0")
status=0

actual=$(nm -D --defined-only "$library" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' | sort -u)
plain=$(grep -v '^_Z' <<<"$actual")
if ! diff <(sort "$here/c_exports.txt") <(printf '%s\n' "$plain"); then
    echo "the C functions differ from c_exports.txt (< expected, > exported)"
    status=1
fi

# Demangled C++ names, a leading return type or "vtable for" included.
foreign=$(grep '^_Z' <<<"$actual" | c++filt | grep -vE '^(KaTessel|KaResample)::' || true)
internal=$(grep '^_Z' <<<"$actual" | c++filt | grep -E 'KaTessel::kernels::|\(anonymous namespace\)' || true)
[ -z "$foreign" ] || { echo "exported from other namespaces:"; echo "$foreign"; status=1; }
[ -z "$internal" ] || { echo "internals exported:"; echo "$internal"; status=1; }

demangled=$(c++filt <<<"$actual")
# The toolkit's entry points, one representative per header.
for name in 'KaTessel::CTessel::CTessel()' 'KaTessel::MRSpectrum::rFFT(float*, int)' \
    'KaTessel::CFFTOoura::cftrec4(int, float*)' 'KaTessel::wavenet2_init(KaTessel::T_WN2_conf)' \
    'KaTessel::init_buf(float*&, int)' 'KaTessel::gru_init(KaTessel::T_GRU_conf)' \
    'KaTessel::conv1d_init(KaTessel::T_CONV1D_conf)' 'KaTessel::instructionSet()' 'KaTessel::performance_analysis_' \
    'KaResample::CKaResample::CKaResample()' \
    'KaResample::Interpolator::linear(float const*, double, double, float*, int)'; do
    grep -qxF "$name" <<<"$demangled" || { echo "not exported: $name"; status=1; }
done

soname=$(readelf -d "$library" | sed -n 's/.*SONAME.*\[\(.*\)\]/\1/p')
[ "$soname" = libKaTesselLib.so.1 ] || { echo "SONAME is $soname, expected libKaTesselLib.so.1"; status=1; }
needed=$(readelf -d "$library" | sed -n 's/.*NEEDED.*\[\(.*\)\]/\1/p' | grep -vE '^(libstdc\+\+|libm|libgcc_s|libc|ld-linux-x86-64)\.so' || true)
[ -z "$needed" ] || { echo "depends on more than the standard libraries: $needed"; status=1; }
exit $status
