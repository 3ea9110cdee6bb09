#!/usr/bin/env bash
# soak.sh SECONDS TOOL: tracks the bundled recordings again and again, whole, streamed and many at a time, for that long.
# Every track must be the first one's, byte by byte; one process that streams for as long as it is told must not grow.
set -euo pipefail
seconds=$1 tool=$(realpath "$2")
cd "$(dirname "$0")/.."
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
mkdir "$folder/in"
for i in {1..8}; do cp examples/audio/*.ogg "$folder/in/" && for f in examples/audio/*.ogg; do cp "$f" "$folder/in/$i-$(basename "$f")"; done; done
for mode in offline live; do "$tool" track -r "$folder/in" -o "$folder/$mode" --mode $mode -q; done

failed() { echo "soak: $1: expected $2, found $3" >&2; exit 1; }
# A stream of hours through one engine: noise at 8 kHz, as much as the rest of the time allows.
sound_seconds=$((seconds * 40))
head -c $((sound_seconds * 16000)) /dev/urandom > "$folder/long.raw"
"$tool" track "$folder/long.raw" --raw s16:8000 --mode live --format npy > "$folder/long.npy" &
long=$!
end=$((SECONDS + seconds)) rounds=0 early=0 most=0
while [ $SECONDS -lt $end ]; do
    for mode in offline live; do
        "$tool" track -r "$folder/in" -o "$folder/again" --mode $mode --force -q -j 2
        diff -r "$folder/$mode" "$folder/again" > /dev/null || failed "round $rounds, $mode" "the tracks of the first" "others"
    done
    rounds=$((rounds + 1))
    if [ -r /proc/$long/status ]; then
        most=$(awk '/VmHWM/ { print $2 }' /proc/$long/status 2> /dev/null || echo "$most")
        [ "$early" -gt 0 ] || early=$most
    fi
done
wait $long
rows=$((($(stat -c %s "$folder/long.npy") - 128) / 12))
[ "$rows" -eq $((sound_seconds * 200)) ] || failed "stream of $sound_seconds s" "$((sound_seconds * 200)) rows" "$rows"
echo "soak: $rounds rounds of $(ls "$folder/in" | wc -l) recordings in both modes, the same tracks each time; a stream of $sound_seconds s, $rows rows, peak memory $early kB in the first round, $most kB in the last"
