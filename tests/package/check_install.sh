#!/usr/bin/env bash
# check_install.sh BUILD SOURCE CC CXX: installs the build into a scratch folder, moves it, looks at the files, and builds
# and runs programs against it: by CMake, by pkg-config as C89, and the installed tool.
set -euo pipefail
build=$1 source=$2 cc=$3 cxx=$4
here=$source/tests/package
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
unset KATESSEL_MODEL

cmake --install "$build" --prefix "$scratch/first" >"$scratch/log"
mv "$scratch/first" "$scratch/root"  # an installation may be packed and moved
root=$scratch/root
libdir=$(dirname "$(find "$root" -name libKaTesselLib.so.1 | head -n 1)")

echo "-- nothing of the place where it was built"
# Files by their folders, as the name of a short folder alone occurs in machine code. What is for debuggers only a build with
# tests has, and clang names lambdas by their places there.
find "$root" -type f \( -name '*.so*' -o -name '*.clap' -o -name '*.a' \) -exec strip --strip-debug {} +
places=()
for folder in "$source"/*/; do places+=(-e "$folder"); done
for folder in "$build"/*/; do places+=(-e "$folder"); done
if grep -rlF "${places[@]}" "$root"; then echo "expected no file's place in these"; exit 1; fi

echo "-- hardened"
mapfile -t binaries < <(find "$root" -type f \( -name '*.so*' -o -name '*.clap' -o -path '*/bin/*' -o -path '*/libexec/*' \))
for binary in "${binaries[@]}"; do
    readelf -dlW --dyn-syms "$binary" >"$scratch/marks"
    marks=('file type is DYN' BIND_NOW GNU_RELRO __stack_chk_fail)
    if [[ $binary == */libKaTesselLib* ]] && ! grep -q '^CMAKE_BUILD_TYPE.*=Debug' "$build/CMakeCache.txt"; then marks+=(__vfprintf_chk); fi
    for mark in "${marks[@]}"; do
        grep -q "$mark" "$scratch/marks" || { echo "${binary#"$root"/}: expected $mark, found none"; exit 1; }
    done
    # The system's own code at both ends of a file brings a few of these landing places.
    if [ "$(uname -m)" = x86_64 ]; then [ "$(objdump -d "$binary" | grep -c endbr64)" -gt 20 ]; fi
done

echo "-- outside CMake project"
CC=$cc CXX=$cxx cmake -G Ninja -S "$here/outside" -B "$scratch/outside" -DCMAKE_PREFIX_PATH="$root" >>"$scratch/log"
cmake --build "$scratch/outside" >>"$scratch/log" || { cat "$scratch/log"; exit 1; }
model=$(cat "$scratch/outside/model.txt")
cmp "$model" "$source/models/default.weights"
for kind in KaTesselLib katessel_static; do
    "$scratch/outside/use-$kind" "$model"
    "$scratch/outside/toolkit-$kind" "$model"
done
if nm -D --defined-only "$scratch/outside/libplug-in.so" | grep KTessel_; then exit 1; fi

echo "-- headers in the oldest language that they promise"
check_header() { $cxx "-std=$1" -Wall -Wextra -pedantic -Werror -fsyntax-only -I"$root/include" -x c++ - <<<"#include <katessel/$2>"; }
check_header c++11 KaTessel.h
for header in "$root"/include/katessel/*.hpp; do check_header c++17 "$(basename "$header")"; done

echo "-- pkg-config, C89, shared and static"
export PKG_CONFIG_PATH=$libdir/pkgconfig
for static in "" --static; do
    $cc -std=c89 -pedantic -Wall -Wextra -Werror ${static/--/-} "$here/outside/use.c" -o "$scratch/use89$static" \
        $(pkg-config --cflags --libs $static katessel) -lm
    LD_LIBRARY_PATH=$libdir "$scratch/use89$static" "$model"
done
cmp "$(pkg-config --variable=model katessel)" "$source/models/default.weights"

if [ -x "$root/bin/katessel" ]; then
    echo "-- installed tool with its own model"
    cd "$scratch"
    "$root/bin/katessel" track "$source/examples/audio/speech_nathalie.ogg" -o track.csv
    head -n 3 track.csv
    # Pictures and live sound are programs of their own, which do not slow down the start of the others.
    if readelf -d "$root/bin/katessel" | grep -E 'NEEDED.*(cairo|jack|rtaudio)'; then exit 1; fi
    for program in "$root"/libexec/katessel/katessel-*; do
        [ ! -e "$program" ] || "$root/bin/katessel" "${program##*-}" --help >/dev/null
    done
fi
