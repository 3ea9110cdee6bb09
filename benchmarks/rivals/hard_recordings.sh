#!/usr/bin/env bash
# Draws the bundled recordings as they are hard to hear, with our track and other trackers' over the spectrogram:
# hard_recordings.sh [TOOL] [FOLDER FOR THE PICTURES]. Needs sox and what compare.py needs.
set -euo pipefail
cd "$(dirname "$0")/../.."
tool=${1:-build/release/apps/katessel} pictures=${2:-docs/images} work=out/hard
rm -rf "$work"
mkdir -p "$work/recordings" "$pictures"

# spoil NAME AS NOISE LEVEL EFFECT..: adds noise of one colour at an RMS level, then the effects.
spoil() {
    local name=$1 as=$2 colour=$3 level=$4 seconds
    shift 4
    seconds=$(soxi -D "examples/audio/$name.ogg")
    sox -R -n -r 24000 -c 1 "$work/noise.wav" synth "$seconds" "${colour}noise" vol "$level"
    sox -m -v 1 "examples/audio/$name.ogg" -v 1 "$work/noise.wav" -r 24000 -c 1 -b 16 "$work/recordings/$as.wav" "$@"
    cp "examples/audio/$name.f0" "$work/recordings/$as.f0"
}
spoil speech_nathalie speech_in_noise pink 0.04
spoil singing_martin singing_by_telephone brown 0.15 sinc 300-3400 gain -n -6

benchmarks/rivals/compare.py "$work/recordings" --tool "$tool" --out "$work/tracks" --only "katessel offline,praat ac,sptk swipe"
for name in speech_in_noise singing_by_telephone; do
    "$tool" plot "$work/recordings/$name.wav" -o "$pictures/$name.png" --overlay "truth=$work/recordings/$name.f0" \
        --overlay "praat ac=$work/tracks/praat-ac/$name.csv" --overlay "sptk swipe=$work/tracks/sptk-swipe/$name.csv" --size 1100x620
done
