#!/usr/bin/env bash
# check_use.sh PACKAGES SOURCE: what the packages hold, what they ask for, and each of them used from a scratch root.
set -euo pipefail
packages=$1 source=$2
here=$(dirname "$0")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
root=$scratch/root
for deb in "$packages"/*.deb; do dpkg-deb -x "$deb" "$root"; done
libdir=$(dirname "$(find "$root/usr/lib" -name libKaTesselLib.so.1)")
sound=$source/examples/audio/speech_nathalie.ogg
failed() { echo "failed: $*"; exit 1; }
field() { dpkg-deb -f "$packages/$1"_*.deb "$2"; }

echo "-- seven packages, which this system could install"
[ "$(cd "$packages" && ls -- *.deb | sed 's/_.*//' | LC_ALL=C sort | tr '\n' ' ')" = \
    "katessel katessel-data katessel-plugins libkatessel-dev libkatessel1 python3-katessel vamp-plugin-katessel " ] || failed "names"
apt-get install --simulate -qq "$(readlink -f "$packages")"/*.deb | grep -c '^Inst .*katessel' | grep -qx 7 || failed "apt-get"
[[ $(field katessel Depends) == *"libkatessel1 (= "*libsndfile1* ]] || failed "dependencies of the tool"
dpkg-deb -I "$packages"/libkatessel1_*.deb triggers | grep -qx 'activate-noawait ldconfig' || failed "trigger"

echo "-- nothing of the place where they were built"
if grep -rlF "$source/" "$root"; then failed "paths of the sources in these files"; fi

echo "-- the tool, with the packaged model"
export LD_LIBRARY_PATH=$libdir
hash=$(sed -n 's/.*"sha256": "\(.*\)".*/\1/p' "$root/usr/share/katessel/offline.json")
[[ $("$root/usr/bin/katessel" --version) == *"$hash"* ]] || failed "--version"
"$root/usr/bin/katessel" track --format json "$sound" -o "$scratch/track.json"
grep -qF "\"sha256\":\"$(sha256sum <"$root/usr/share/katessel/offline.weights" | cut -d" " -f1)\"" "$scratch/track.json" ||
    failed "model of the tool"
"$root/usr/bin/katessel" track "$sound" -o "$scratch/track.csv"

echo "-- a program in C, by pkg-config"
export PKG_CONFIG_LIBDIR=$libdir/pkgconfig
gcc -std=c89 -pedantic -Wall -Wextra -Werror "$source/tests/package/outside/use.c" -o "$scratch/use" \
    $(pkg-config --cflags --libs katessel) -lm # several words
"$scratch/use" "$(pkg-config --variable=model katessel)"

echo "-- a project in CMake"
cmake -G Ninja -S "$source/tests/package/outside" -B "$scratch/outside" -DCMAKE_PREFIX_PATH="$root/usr" >"$scratch/log"
cmp "$(cat "$scratch/outside/model.txt")" "$source/models/default.weights"
unset LD_LIBRARY_PATH PKG_CONFIG_LIBDIR

echo "-- Python, without the shared library"
PYTHONPATH=$root/usr/lib/python3/dist-packages /usr/bin/python3 -B "$here/use.py" "$scratch/track.csv" "$root"

echo "-- a Vamp host"
folder=$(vamp-simple-host -p 2>/dev/null | while read -r each; do [ ! -e "$root$each/katessel.so" ] || echo "$root$each"; done)
[ -n "$folder" ] || failed "no folder where hosts look has the plug-in"
VAMP_PATH=$folder vamp-simple-host katessel:pitch:f0 "$sound" >"$scratch/f0" 2>/dev/null
[ "$(wc -l <"$scratch/f0")" -gt 300 ] || failed "the plug-in heard $(wc -l <"$scratch/f0") voiced values"

echo "-- plug-ins for audio workstations"
"$source/tests/bindings/check_plugins.sh" "$root/usr/lib"
