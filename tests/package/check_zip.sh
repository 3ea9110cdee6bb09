#!/usr/bin/env bash
# check_zip.sh BUILD SOURCE CC CXX EMULATOR: packs the build for Windows, unpacks that under another name, and builds and runs
# hosts against it as its README says.
set -euo pipefail
build=$1 source=$2 cc=$3 cxx=$4 emulator=$5
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cpack --config "$build/CPackConfig.cmake" -B "$scratch/packed" >"$scratch/log" || { cat "$scratch/log"; exit 1; }
cd "$scratch"
cmake -E tar xf packed/katessel-*-windows-x86_64.zip
mv katessel-*-windows-x86_64 katessél  # a folder as people have them
cd katessél

echo "-- libraries that the DLL needs"
"${cc%gcc*}objdump" -p bin/libKaTesselLib.dll | sed -n 's/.*DLL Name: //p' | tee "$scratch/needed"
if grep -qviE '^(kernel32|msvcrt|advapi32|user32)\.dll$' "$scratch/needed"; then exit 1; fi

flags=(-Wall -Wextra -Werror -I include -L lib)
"$cc" "${flags[@]}" "$source/examples/01_stream_blocks.c" -lKaTesselLib -o bin/01_stream_blocks.exe
"$cxx" "${flags[@]}" -std=c++17 "$source/examples/03_stream_blocks.cpp" -lKaTesselLib -static -o bin/03_stream_blocks.exe
# By the list of exports, as other linkers do.
"${cc%gcc*}dlltool" -d lib/KaTesselLib.def -D libKaTesselLib.dll -l lib/made.a
"$cc" "${flags[@]}" -std=c89 "$source/tests/package/outside/use.c" -l:made.a -o bin/use.exe

export WINEDEBUG=-all
"$emulator" bin/use.exe share/katessel/default.weights
for example in 01_stream_blocks 03_stream_blocks; do
    echo "-- $example"
    if [ $example = 01_stream_blocks ]; then set -- share/katessel/default.weights; else set --; fi
    "$emulator" "bin/$example.exe" "$@" | tr -d '\r' >"$scratch/out"
    diff "$source/examples/expected/$example.txt" "$scratch/out"
done
