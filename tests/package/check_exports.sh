#!/usr/bin/env bash
# Compares what the shared library exports with exports.txt: every symbol, C and C++, with the version node that it
# joined. A difference is a change of the binary interface; a wanted one is committed with
#     tests/package/check_exports.sh LIBRARY --list >tests/package/exports.txt
set -euo pipefail
library=$1
here=$(dirname "$0")
status=0

# "NODE SYMBOL", demangled, with short names for strings and vectors.
# Constructors and destructors have several symbols of one name.
listed() {
    nm -D --defined-only --with-symbol-versions "$library" |
        sed -nE 's/^[0-9a-f]+ [^A] ([^@]+)@+(.+)$/\2 \1/p' | c++filt |
        sed -E 's/std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >/std::string/g
            :again; s/std::vector<([^<>]*), std::allocator<\1 ?> >/vector[\1]/; t again' | LC_ALL=C sort -u
}
if [ "${2-}" = --list ]; then
    listed
    exit
fi
if ! diff "$here/exports.txt" <(listed); then
    echo "the exported symbols differ from exports.txt (< expected, > exported)"
    status=1
fi

soname=$(readelf -d "$library" | sed -n 's/.*SONAME.*\[\(.*\)\]/\1/p')
[ "$soname" = libKaTesselLib.so.1 ] || { echo "SONAME is $soname, expected libKaTesselLib.so.1"; status=1; }
needed=$(readelf -d "$library" | sed -n 's/.*NEEDED.*\[\(.*\)\]/\1/p' | grep -vE '^(libstdc\+\+|libm|libgcc_s|libc|ld-linux-x86-64)\.so' || true)
[ -z "$needed" ] || { echo "depends on more than the standard libraries: $needed"; status=1; }
exit $status
