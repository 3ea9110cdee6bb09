#!/usr/bin/env bash
# check_examples.sh BUILD SOURCE CC CXX PYTHON: installs the build, moves the installation, and builds and runs every
# numbered example against it, by CMake and by pkg-config. Each must print what examples/expected says.
set -euo pipefail
build=$1 source=$2 cc=$3 cxx=$4 python=$5
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
unset KATESSEL_MODEL PYTHONPATH
export PYTHONDONTWRITEBYTECODE=1
cmake --install "$build" --prefix "$scratch/first" >"$scratch/log"
mv "$scratch/first" "$scratch/root"
root=$scratch/root
libdir=$(dirname "$(find "$root" -name libKaTesselLib.so.1)")
export PKG_CONFIG_PATH=$libdir/pkgconfig LD_LIBRARY_PATH=
status=0

# expect NAME COMMAND..
expect() {
    local name=$1
    shift
    echo "-- $name: $*"
    "$@" >"$scratch/out" || status=1
    diff "$source/examples/expected/$name.txt" "$scratch/out" || status=1
}

# The melody as a WAV file with two channels.
"$python" - "$source/examples" "$scratch/melody.wav" <<'PY'
import sys, wave
sys.path.insert(0, sys.argv[1])
import numpy as np
from melody import melody
sound = np.int16(20000 * melody(44100))
with wave.open(sys.argv[2], "wb") as file:
    file.setnchannels(2)
    file.setsampwidth(2)
    file.setframerate(44100)
    file.writeframes(np.stack([sound, sound // 2], axis=1).tobytes())
PY

CC=$cc CXX=$cxx cmake -G Ninja -S "$source/examples" -B "$scratch/examples" -DCMAKE_PREFIX_PATH="$root" \
    -DCMAKE_C_FLAGS="-Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Werror" \
    -DCMAKE_CXX_FLAGS="-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Werror" >>"$scratch/log"
cmake --build "$scratch/examples" >>"$scratch/log" || { cat "$scratch/log"; exit 1; }
model=$(pkg-config --variable=model katessel)
expect 01_stream_blocks "$scratch/examples/01_stream_blocks" "$model"
expect 02_recording_in_memory "$scratch/examples/02_recording_in_memory" "$model" "$scratch/melody.wav"
expect 03_stream_blocks "$scratch/examples/03_stream_blocks"
expect 04_threads "$scratch/examples/04_threads"

# As the examples' own comments say, in the oldest language that the headers promise; without position-independent
# code addresses of the library's functions lie in the program.
export LD_LIBRARY_PATH=$libdir
read -ra flags <<<"$(pkg-config --cflags --libs katessel)"
for code in -fPIE "-fno-pie -no-pie"; do
    "$cxx" -std=c++17 -Wall -Wextra -Werror $code "$source/examples/03_stream_blocks.cpp" -o "$scratch/by-hand" "${flags[@]}"
    expect 03_stream_blocks "$scratch/by-hand"
done

packages=$(dirname "$(find "$root" -path '*/katessel/__init__.py' -printf '%h\n')" 2>/dev/null)
if [ -d "$packages/katessel" ]; then
    export PYTHONPATH=$packages
    expect 05_whole_recording "$python" "$source/examples/05_whole_recording.py"
    expect 05_whole_recording "$python" "$source/examples/05_whole_recording.py" "$scratch/melody.wav"
    expect 06_stream_blocks "$python" "$source/examples/06_stream_blocks.py"
    MPLBACKEND=Agg "$python" "$source/tests/bindings/python/run_notebook.py" "$source/examples/07_first_look.ipynb" || status=1
fi

# The plug-in finds the model of its installation.
if [ -f "$libdir/vamp/katessel.so" ] && command -v vamp-simple-host >/dev/null; then
    echo "-- vamp-simple-host"
    VAMP_PATH=$libdir/vamp vamp-simple-host katessel:pitch:notes "$scratch/melody.wav" 2>/dev/null >"$scratch/out"
    cat "$scratch/out"
    [ "$(awk '{ print $NF }' "$scratch/out" | tr '\n' ' ')" = "A3 C4 E4 A4 " ] || status=1
fi
exit $status
