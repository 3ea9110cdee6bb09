#!/usr/bin/env bash
# Installs the build into a scratch folder, moves it, and builds and runs programs against it: by CMake, by pkg-config
# as C89, and the installed tool.
set -euo pipefail
build=$1 source=$2 cc=$3 cxx=$4
here=$source/tests/package
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --prefix "$scratch/first" >"$scratch/log"
mv "$scratch/first" "$scratch/root"  # an installation may be packed and moved
root=$scratch/root

echo "-- outside CMake project"
CC=$cc CXX=$cxx cmake -G Ninja -S "$here/outside" -B "$scratch/outside" -DCMAKE_PREFIX_PATH="$root" >>"$scratch/log"
cmake --build "$scratch/outside" >>"$scratch/log" || { cat "$scratch/log"; exit 1; }
model=$(cat "$scratch/outside/model.txt")
cmp "$model" "$source/models/default.weights"
"$scratch/outside/use" "$model"
"$scratch/outside/toolkit" "$model"

echo "-- headers in the oldest language that they promise"
check_header() { $cxx "-std=$1" -Wall -Wextra -pedantic -Werror -fsyntax-only -I"$root/include" -x c++ - <<<"#include <katessel/$2>"; }
check_header c++11 KaTessel.h
for header in "$root"/include/katessel/*.hpp; do check_header c++17 "$(basename "$header")"; done

echo "-- pkg-config, C89"
libdir=$(dirname "$(find "$root" -name libKaTesselLib.so.1 | head -n 1)")
export PKG_CONFIG_PATH=$libdir/pkgconfig
[ -f "$libdir/pkgconfig/katessel.pc" ] || PKG_CONFIG_PATH=$(dirname "$(find "$root" -name katessel.pc)")
$cc -std=c89 -pedantic -Wall -Wextra -Werror "$here/outside/use.c" -o "$scratch/use89" \
    $(pkg-config --cflags --libs katessel) -lm
cmp "$(pkg-config --variable=model katessel)" "$source/models/default.weights"
LD_LIBRARY_PATH=$libdir "$scratch/use89" "$model"

if [ -x "$root/bin/katessel" ]; then
    echo "-- installed tool with its own model"
    cd "$scratch"
    "$root/bin/katessel" track "$source/examples/audio/speech_nathalie.ogg" | head -n 3
fi
