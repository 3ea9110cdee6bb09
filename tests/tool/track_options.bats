# What `katessel track` writes, and what each option changes.
load common

setup_file() {
  cd "$BATS_FILE_TMPDIR"
  sound tone.wav 48000 0.4 tone 200
  sound left.wav 48000 0.4 left 200
  sound half.wav 48000 0.4 tone 200 0.5
  sound silence.wav 24000 0.3 silence
  katessel track tone.wav --threshold 0 > all.csv
}

setup() { enter_folder "$BATS_FILE_TMPDIR"/*.{wav,csv}; }

@test "the text: a header and rows of fixed digits" {
  [ "$(head -n 1 all.csv)" = time,frequency,confidence ]
  [ "$(tail -n +2 all.csv | grep -cEv '^[0-9]+\.[0-9]{3},[0-9]+\.[0-9]{3},[0-9]+\.[0-9]{6}$')" = 0 ]
  track_report all.csv rows 80
}

@test "channels are averaged" {
  katessel track left.wav > left.csv
  katessel track half.wav > half.csv
  cmp left.csv half.csv
}

@test "--cents" {
  katessel track tone.wav --threshold 0 --cents > cents.csv
  [ "$(head -n 1 cents.csv)" = time,cents,confidence ]
  # The same rows, converted.
  paste -d, all.csv cents.csv | awk -F, 'NR > 1 && ($1 != $4 || $3 != $6 ||
    (1200 * log($2 / 440) / log(2) - $5)^2 > 0.02^2) { bad = 1 } END { exit bad || NR < 80 }'
  katessel track silence.wav --cents > cents.csv
  [ "$(tail -n +2 cents.csv | cut -d, -f2 | sort -u)" = nan ]
}

@test "--threshold marks rows below it, and only those" {
  speech=$KATESSEL_SOURCE/examples/audio/speech_nathalie.ogg
  katessel track "$speech" --threshold 0 > all.csv
  katessel track "$speech" --threshold 0.8 --voicing frame > some.csv
  paste -d, all.csv some.csv | awk -F, 'NR > 1 {
    if ($3 != $6) bad = 1
    if ($3 < 0.799999 && $5 != 0) bad = 1
    if ($3 > 0.800001 && $5 != $2) bad = 1
    if ($2 != 0) { if ($5 == 0) ++marked; else ++kept } } END { exit bad || marked < 20 || kept < 100 }'
}

@test "--model" {
  "$PYTHON" "$HERE/timing_model.py" constant.weights
  # Both outputs 0: each form has an offset of its own.
  katessel track tone.wav --mode live --model constant.weights --threshold 0 > constant.csv
  track_report constant.csv median 239.2 239.4
  katessel track tone.wav --mode offline --model constant.weights --threshold 0 > constant.csv
  track_report constant.csv median 240.5 240.7
}

@test "--mode: offline unless asked otherwise, and not the same as live" {
  katessel track tone.wav --mode offline > offline.csv
  katessel track tone.wav --mode live > live.csv
  katessel track tone.wav > default.csv
  cmp default.csv offline.csv
  ! cmp -s offline.csv live.csv
}

@test "--block-size: of each call the last frame, at its time" {
  # 147 samples at 44.1 kHz hide no frame; 480 at 24 kHz hide three of four; of 256 at 48 kHz some calls hold two.
  sound tone44.wav 44100 0.4 tone 200
  sound tone24.wav 24000 0.4 tone 200
  for case in "tone44 147 80 1" "tone24 480 20 1-3" "tone 256 75 1"; do
    set -- $case
    katessel track $1.wav --mode live > whole.csv
    katessel track $1.wav --block-size $2 > blocks.csv
    [ "$(tail -n +2 blocks.csv | wc -l)" -eq $3 ]
    # Every row stands in the whole track as well. At other rates the engine's own conversion gives other values.
    [ -z "$(cut -d, -f$4 blocks.csv | sort | comm -23 - <(cut -d, -f$4 whole.csv | sort))" ]
  done
}

@test "-o writes what standard output would hold, whole and alone" {
  katessel track tone.wav > expected.csv
  run --separate-stderr katessel track tone.wav -o out.csv
  [ "$status" -eq 0 ]
  [ -z "$output$stderr" ]
  cmp out.csv expected.csv
  # What was there is replaced, through a link too, and no temporary file stays.
  echo old > older.csv
  ln -s older.csv link.csv
  katessel track tone.wav -o link.csv --force
  [ -L link.csv ]
  cmp older.csv expected.csv
  # A pipe is written to and stays one.
  mkfifo pipe
  timeout 10 cat pipe > through.csv &
  katessel track tone.wav -o pipe
  wait
  [ -p pipe ]
  cmp through.csv expected.csv
  [ "$(ls -A | grep -c part)" = 0 ]
}
