# `katessel eval`: figures that can be worked out by hand, and the bundled recordings.
load common

# 50 voiced frames of 200 Hz, 40 without pitch, 10 not scored. Reported: 25 exact, 5 at 15 cents, 10 at 30 cents, 5 an
# octave up, 5 not at all; 4 of the frames without pitch; all that are not scored.
setup() {
  enter_folder
  awk 'BEGIN { for (i = 0; i < 100; ++i) printf "%.3f %d\n", i * 0.005, i < 50 ? 200 : i < 90 ? 0 : -1 }' > truth.f0
  awk 'BEGIN { print "time,frequency,confidence"
    for (i = 0; i < 100; ++i) {
      f = 0
      if (i < 50) f = i < 25 ? 200 : i < 30 ? 200 * 2 ^ (15 / 1200) : i < 40 ? 200 * 2 ^ (30 / 1200) : i < 45 ? 400 : 0
      else if (i < 54 || i >= 90) f = 100
      printf "%.3f,%.4f,%.2f\n", i * 0.005, f, (f > 0) ? 0.95 : 0.05 } }' > track.csv
}

# has FIGURE VALUE: the last line of figures.csv says so.
has() {
  awk -F, -v name="$1" -v value="$2" 'NR == 1 { for (i = 1; i <= NF; ++i) if ($i == name) column = i }
    END { if (!column || $column != value) { print name ": " $column ", expected " value; exit 1 } }' figures.csv
}

@test "every figure of a track whose faults are known" {
  katessel eval --ref truth.f0 track.csv --csv figures.csv --json figures.json > table.txt
  has frames 90
  has raw_pitch_accuracy_50 0.800
  has raw_pitch_accuracy_25 0.600
  has raw_pitch_accuracy_10 0.500
  has raw_chroma_accuracy 0.900
  has gross_error_rate 0.111
  has voicing_recall 0.900
  has voicing_false_alarm 0.100
  has f1 0.808
  has overall_accuracy 0.844
  has calibration_error 0.096
  grep -q '0.95  0.816         49 frames' table.txt
  [ "$("$PYTHON" -c 'import json; print(round(json.load(open("figures.json"))[0]["f1"], 3))')" = 0.808 ]
  # A threshold above every confidence: nothing is reported, the raw pitch stays.
  katessel eval --ref truth.f0 track.csv --threshold 0.99 --csv figures.csv > table.txt
  has voicing_recall 0.000
  has raw_pitch_accuracy_50 0.800
}

@test "a shift in time shows, whatever separates the columns" {
  awk 'BEGIN { for (i = 0; i < 400; ++i) printf "%.3f %.3f\n", i * 0.005, 150 * 2 ^ (sin(i / 20)) }' > truth.f0
  awk 'BEGIN { for (i = 0; i < 400; ++i) printf "%.3f\t%.3f\n", i * 0.005, 150 * 2 ^ (sin((i - 2) / 20)) }' > track.tsv
  katessel eval --ref truth.f0 track.tsv --csv figures.csv > table.txt
  has offset_ms 10.0
}

@test "a folder, tracked by the way or beforehand: the same figures" {
  mkdir -p corpus/more
  cp "$KATESSEL_SOURCE"/examples/audio/speech* corpus
  cp "$KATESSEL_SOURCE"/examples/audio/singing* corpus/more
  echo "0 1 a" > corpus/speech_nathalie.lab  # no recording, whatever lies beside it
  katessel eval --ref corpus --csv figures.csv > table.txt
  has recordings 2
  cut -d, -f 1,2,4 figures.csv > expected.csv
  katessel track -r corpus -o tracks -q
  katessel eval --ref corpus --tracks tracks --csv figures.csv > table.txt
  cut -d, -f 1,2,4 figures.csv | diff expected.csv -
}

@test "what cannot be scored is named, and the rest goes on" {
  mkdir -p corpus/closed tracks
  for name in a b c; do
    sound corpus/$name.wav 24000 0.5 tone 200
    awk 'BEGIN { for (i = 0; i < 100; ++i) printf "%.3f 200\n", i * 0.005 }' > corpus/$name.f0
  done
  echo "not a sound" > corpus/b.wav
  chmod 0 corpus/closed
  run --separate-stderr katessel eval --ref corpus --csv figures.csv
  chmod 700 corpus/closed
  [ "$status" -eq 1 ]
  [[ $stderr == *"corpus/b.wav: expected a known audio format"*"not everything is scored: corpus: expected figures without these, found "[12] ]]
  # To an administrator no folder is closed.
  [ "$(id -u)" -eq 0 ] || [[ $stderr == *"cannot evaluate: corpus/closed: expected a readable folder, found Permission denied"* ]]
  has recordings 2
}
