# The model that comes with the tool: what it must hear, and what it must not.
load ../tool/common

setup() { enter_folder; }

# at_least FIGURE VALUE, at_most FIGURE VALUE: of the last line of figures.csv.
figure() {
  awk -F, -v name="$1" 'NR == 1 { for (i = 1; i <= NF; ++i) if ($i == name) column = i } END { print $column }' figures.csv
}
at_least() { awk -v value="$(figure "$1")" -v bound="$2" -v name="$1" 'BEGIN { if (!(value >= bound)) { print name ": " value; exit 1 } }'; }
at_most() { awk -v value="$(figure "$1")" -v bound="$2" -v name="$1" 'BEGIN { if (!(value <= bound)) { print name ": " value; exit 1 } }'; }

@test "both bundled recordings, offline and live" {
  for name in speech_nathalie singing_martin; do
    mkdir "$name"
    cp "$KATESSEL_SOURCE/examples/audio/$name".* "$name"
    for mode in offline live; do
      echo "$name, $mode"
      katessel eval --ref "$name" --mode "$mode" --csv figures.csv > table.txt
      at_least raw_pitch_accuracy_50 0.99
      at_least raw_pitch_accuracy_25 0.90
      at_least voicing_recall 0.97
      at_most gross_error_rate 0.002
      at_most median_cents 13
    done
  done
}

@test "no frame of silence or white noise is voiced, at any level, offline or live" {
  sound silence.wav 24000 5 silence
  sound loud.wav 24000 5 noise 0.9
  sound soft.wav 24000 5 noise 0.003
  for sound in silence loud soft; do
    for mode in offline live; do
      katessel track --mode "$mode" "$sound.wav" -o track.csv --force
      awk -F, -v what="$sound, $mode" 'NR > 1 { ++rows; if ($2 > 0) ++voiced }
        END { if (rows != 1000 || voiced > 0) { print what ": " voiced + 0 " of " rows " voiced"; exit 1 } }' track.csv
    done
  done
}
