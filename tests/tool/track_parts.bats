# Which sound of a recording `katessel track` takes: channels, parts, standard input, sound without a header.
load common

setup_file() {
  cd "$BATS_FILE_TMPDIR"
  sound both.wav 48000 0.4 both 200 300
  for rate in 11025 24000 44100; do
    sound glide$rate.wav $rate 3.7 glide 150 400
  done
  sound tone.wav 24000 0.3 tone 200
}

setup() { enter_folder "$BATS_FILE_TMPDIR"/*.wav; }

# samples FILE.wav: its samples, without what comes before them in files of sound.py.
samples() { tail -c +45 "$1"; }

# agree FILE FILE: the same instants, and the same pitch to a few cents.
agree() {
  paste -d, "$1" "$2" | awk -F, 'NR > 1 && ($1 != $4 || ($2 - $5)^2 > (0.002 * $2)^2 || ($3 - $6)^2 > 0.01^2) { bad = 1 }
    END { exit bad || NR < 2 }'
}

@test "--channel" {
  for case in "1 200" "2 300"; do
    set -- $case
    katessel track both.wav --channel $1 > track.csv
    track_report track.csv median $(($2 - 4)) $(($2 + 4))
  done
}

@test "--start, --duration and --to give rows of the whole track" {
  for rate in 11025 24000 44100; do
    for mode in offline live; do
      katessel track glide$rate.wav --mode $mode > whole.csv
      # From the first whole second on, in the middle between two rows, and to the end.
      for case in "0.3 0.5" "2.0 0.25" "2.5025 0.1" "3.45 9"; do
        set -- $case
        katessel track glide$rate.wav --mode $mode --start $1 --duration $2 > part.csv
        awk -F, -v a=$1 -v b=$2 'NR == 1 || $1 >= a && $1 < a + b' whole.csv > expected.csv
        [ "$(wc -l < part.csv)" = "$(wc -l < expected.csv)" ]
        agree part.csv expected.csv
      done
      katessel track glide$rate.wav --mode $mode --start 3 > part.csv
      agree part.csv <(awk -F, 'NR == 1 || $1 >= 3' whole.csv)
    done
  done
  katessel track glide24000.wav --duration 0.1 > part.csv
  track_report part.csv rows 20
  katessel track glide24000.wav --start 1.5 --duration 0.75 > expected.csv
  for part in "--from 0:01.5 --to 2.25" "--to 0:00:02.25 --start 0:1.50"; do
    katessel track glide24000.wav $part | cmp - expected.csv
  done
}

@test "a part of a compressed recording" {
  speech=$KATESSEL_SOURCE/examples/audio/speech_nathalie.ogg
  katessel track "$speech" > whole.csv
  katessel track "$speech" --start 2.2 --duration 0.6 > part.csv
  agree part.csv <(awk -F, 'NR == 1 || $1 >= 2.2 && $1 < 2.7999' whole.csv)
}

@test "what lies outside the part does not matter" {
  sound bad.wav 24000 2.5 bad nan 2.4
  katessel track bad.wav --duration 1 > part.csv
  track_report part.csv rows 200
  fails_with 1 "found nan at 2.4 s" track bad.wav --start 2
}

@test "standard input, in a known format" {
  katessel track tone.wav > expected.csv
  katessel track - < tone.wav | cmp - expected.csv
  # Not all that is read can go back to its start.
  speech=$KATESSEL_SOURCE/examples/audio/speech_nathalie.ogg
  katessel track "$speech" --start 1.5 --duration 1 > expected.csv
  cat "$speech" | katessel track - --start 1.5 --duration 1 -o - | cmp - expected.csv
  # Something long before the samples.
  "$PYTHON" -c 'import sys
data = open("tone.wav", "rb").read()
data = data[:36] + b"LIST" + (200000).to_bytes(4, "little") + bytes(200000) + data[36:]
open("list.wav", "wb").write(b"RIFF" + (len(data) - 8).to_bytes(4, "little") + data[8:])'
  katessel track tone.wav > expected.csv
  cat list.wav | katessel track - | cmp - expected.csv
  run --separate-stderr bash -c 'head -c 30 tone.wav | "$KATESSEL_TOOL" track -'
  [ "$status" -eq 1 ]
  [[ $stderr == "katessel: cannot read the recording: -: expected a known audio format, found "* ]]
}

@test "rows come with the sound, and what is wrong behind them is an error" {
  mkfifo pipe
  "$KATESSEL_TOOL" track --raw f32:24000 --mode live - < pipe > rows.csv 3>&- &
  exec 4> pipe
  samples glide24000.wav >&4
  for ((tries = 0; tries < 100 && $(wc -l < rows.csv) < 600; ++tries)); do sleep 0.05; done
  exec 4>&-
  [ "$tries" -lt 100 ]
  wait $!
  katessel track glide24000.wav --mode live | cmp - rows.csv
  # Half a sample more, after rows that are out: the status says it, and a file does not appear.
  { samples glide24000.wav; printf xx; } > cut.raw
  run --separate-stderr "$KATESSEL_TOOL" track --raw f32:24000 --mode live cut.raw
  [ "$status" -eq 1 ]
  [ "${#lines[@]}" -gt 500 ]
  [[ $stderr == *"cut.raw: expected whole frames of 4 bytes, found one of 2 at the end" ]]
  fails_with 1 "found one of 2 at the end" track --raw f32:24000 --mode live cut.raw -o cut.csv
}

@test "--raw: floats and integers, several channels, from a pipe and from a file" {
  katessel track tone.wav > expected.csv
  samples tone.wav | katessel track --raw f32:24000 - | cmp - expected.csv
  katessel track both.wav --channel 2 --start 0.1 --duration 0.2 > expected.csv
  samples both.wav | katessel track --raw f32:48000:2 - --channel 2 --start 0.1 --duration 0.2 | cmp - expected.csv
  samples both.wav > both.raw
  katessel track both.raw --raw f32:48000:2 --channel 2 --start 0.1 --duration 0.2 | cmp - expected.csv
  katessel track glide24000.wav --start 3.2 > expected.csv
  samples glide24000.wav | katessel track --raw f32:24000 - --start 3.2 | cmp - expected.csv
  # The same samples of 16 bits in every kind.
  samples tone.wav | "$PYTHON" -c 'import sys, numpy as np
sound = np.round(32768 * np.frombuffer(sys.stdin.buffer.read(), "<f4")).astype("<i4")
def bytes_of(scale):
    return (sound * scale).astype("<i4").tobytes()
kinds = {"f32": (sound / 32768).astype("<f4").tobytes(), "f64": (sound / 32768).astype("<f8").tobytes(),
         "s16": sound.astype("<i2").tobytes(), "s32": bytes_of(65536), "s24": np.frombuffer(bytes_of(65536), "u1").reshape(-1, 4)[:, 1:].tobytes()}
for kind, data in kinds.items():
    open("tone." + kind, "wb").write(data)'
  katessel track --raw f32:24000 tone.f32 > expected.csv
  [ "$(cut -d, -f2 expected.csv | grep -c '[1-9]')" -gt 50 ]
  for kind in f64 s16 s24 s32; do katessel track --raw $kind:24000 tone.$kind | cmp - expected.csv; done
  printf '\0\0\0\0\0\0\360\177' > infinite.f64
  fails_with 1 "infinite.f64" track --raw f64:24000 infinite.f64
}
