#!/usr/bin/env bash
# check_archive.sh SOURCE CC CXX: the archive of the sources is the same from the same commit, and away from git builds and installs
# a library that a program of somebody else's links and runs.
set -euo pipefail
source=$1 cc=$2 cxx=$3
git -C "$source" rev-parse HEAD >/dev/null 2>&1 || { echo "no git here"; exit 77; }
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

"$source/dev" dist "$scratch/one"
"$source/dev" dist "$scratch/two"
cmp "$scratch"/one/katessel-*.tar.gz "$scratch"/two/katessel-*.tar.gz
tar -xzf "$scratch"/one/katessel-*.tar.gz -C "$scratch"
folder=$(echo "$scratch"/katessel-*)
[ "$(basename "$folder")" = "katessel-$(sed -n 's/^project(KaTessel VERSION \([0-9.]*\).*/\1/p' "$source/CMakeLists.txt")" ]

# What else would be built needs libraries that other systems may not have.
parts=(-DKATESSEL_BUILD_TOOL=OFF -DKATESSEL_BUILD_TESTS=OFF -DKATESSEL_BUILD_BENCHMARKS=OFF -DKATESSEL_BUILD_VAMP=OFF
    -DKATESSEL_BUILD_PYTHON=OFF)
CC=$cc CXX=$cxx cmake -S "$folder" -B "$scratch/build" -DCMAKE_INSTALL_PREFIX="$scratch/root" -DCMAKE_INSTALL_LIBDIR=lib \
    -DCMAKE_BUILD_TYPE=Debug -DCMAKE_UNITY_BUILD=ON "${parts[@]}" >"$scratch/log"
cmake --build "$scratch/build" -j 2 >>"$scratch/log" 2>&1 || { tail -n 40 "$scratch/log"; exit 1; }
cmake --install "$scratch/build" >>"$scratch/log"
read -ra flags <<<"$(PKG_CONFIG_PATH=$scratch/root/lib/pkgconfig pkg-config --cflags --libs katessel)"
"$cc" -std=c89 "$source/tests/package/outside/use.c" -o "$scratch/use" "${flags[@]}" -lm
LD_LIBRARY_PATH=$scratch/root/lib "$scratch/use" "$scratch/root/share/katessel/default.weights"
