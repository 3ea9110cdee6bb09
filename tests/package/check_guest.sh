#!/usr/bin/env bash
# check_guest.sh SOURCE CC CXX: as part of another project the library asks for no other package, leaves that project its
# language, builds nothing but itself and installs nothing.
set -euo pipefail
source=$1 cc=$2 cxx=$3
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

asked_for=()
for package in GTest CLI11 nlohmann_json PkgConfig Threads Torch benchmark pybind11 Python Python3; do
    asked_for+=("-DCMAKE_DISABLE_FIND_PACKAGE_$package=ON")
done
CC=$cc CXX=$cxx cmake --no-warn-unused-cli -G Ninja -S "$source/tests/package/guest" -B "$scratch/build" -DKATESSEL_SOURCE="$source" \
    "${asked_for[@]}" >"$scratch/log" 2>&1 || { cat "$scratch/log"; exit 1; }
if grep -i warning "$scratch/log"; then exit 1; fi

diff <(printf '%s\n' KaTesselLib katessel_static toolkit) \
    <(ninja -C "$scratch/build" -t targets all | sed -n 's/^.*: CXX_[A-Z_]*LINKER__\(.*\)_$/\1/p' | sort -u)
object=$(ninja -C "$scratch/build" -t targets all | sed -n 's/^\(.*toolkit.*\.o\): .*/\1/p')
ninja -C "$scratch/build" "$object"
cmake --install "$scratch/build" --prefix "$scratch/root" >>"$scratch/log"
[ "$(cd "$scratch/root" && find . -type f)" = ./default.weights ]
