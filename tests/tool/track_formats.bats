# The formats and units that `katessel track` writes.
load common

read_track() { "$PYTHON" "$HERE/read_track.py" "$@"; }

setup_file() {
  cd "$BATS_FILE_TMPDIR"
  # A tone between two silences.
  sound note.wav 24000 0.6 melody -:0.2 57:0.2 -:0.2
  katessel track note.wav > note.csv
  sound melody.wav 24000 1.5 melody -:0.2 57:0.3 64.2:0.3 -:0.2 59:0.3 -:0.2
}

setup() { enter_folder "$BATS_FILE_TMPDIR"/*.{wav,csv}; }

# rows_of FILE.csv: what the other row formats must hold.
rows_of() { tail -n +2 "$1"; }
# near DISTANCE FILE FILE: the numbers of the two are as near as that, and all else is the same.
near() {
  paste -d, "$2" "$3" | awk -F, -v most="$1" '{ for (i = 1; i <= NF / 2; ++i) {
    d = $i - $(i + NF / 2)
    if ($i + 0 == $i ? d * d > most * most : $i != $(i + NF / 2)) bad = 1 } } END { exit bad || NR == 0 }'
}

@test "tsv, json, jsonl and npy hold the rows of csv" {
  grep -q ',0\.000,' note.csv && grep -q ',2[12][0-9]\.' note.csv
  katessel track note.wav --format csv | cmp - note.csv
  katessel track note.wav --format tsv | tr '\t' , | cmp - note.csv
  for format in json jsonl npy; do
    katessel track note.wav --format $format > track.$format
    read_track track.$format > rows
    near 0.0011 rows <(rows_of note.csv)
    katessel track note.wav --format $format --unit midi > track.$format
    katessel track note.wav --unit midi > midi.csv
    read_track track.$format > rows
    near 0.0011 rows <(rows_of midi.csv)
  done
}

@test "json says where it comes from" {
  katessel track note.wav --format json --start 0.1 --duration 0.3 --threshold 0.5 --mode live --fmax 900 > track.json
  "$PYTHON" - "$(sha256sum < "${MODEL%/*}/live.weights" | cut -d' ' -f1)" "$(katessel --version)" <<'PY'
import json, sys
with open("track.json") as f:
    track = json.load(f)
assert track["recording"] == "note.wav" and track["sample_rate"] == 24000
assert (track["start"], track["end"]) == (0.1, 0.4)
assert track["model"] == {"file": "live.weights", "sha256": sys.argv[1]}
version = sys.argv[2].split(", ")
assert (track["library"], track["instructions"]) == (version[0], version[-1]), version
assert version[2] == "live model " + sys.argv[1], version
assert track["settings"] == {"mode": "live", "threshold": 0.5, "voicing": "hysteresis", "fmax": 900.0}, track["settings"]
PY
  # Any name gives good JSON.
  cp note.wav $'a"b\\c\xff.wav'
  katessel track $'a"b\\c\xff.wav' --format json | "$PYTHON" -c 'import json, sys; json.load(sys.stdin)'
}

@test "TextGrid and Pitch hold notes, voicing and rows for Praat" {
  katessel track melody.wav -o track.TextGrid
  katessel track melody.wav -o track.mid
  katessel track melody.wav -o track.lab
  read_track track.TextGrid > tiers
  diff <(awk -F, '$1 == "notes" && $4 != "" { print $2 "," $3 }' tiers) <(read_track track.mid | sed '$d; s/,[0-9]*$//')
  [ "$(awk -F, '$1 == "notes" && $4 != "" { printf $4 " " }' tiers)" = "A3 E4 B3 " ]
  near 0.0006 <(awk -F, '$1 == "voicing" { print $2 "," $3 "," ($4 == "" ? "unvoiced" : $4) }' tiers) <(read_track track.lab)
  katessel track note.wav --start 0.1 --duration 0.4 -o track.Pitch
  katessel track note.wav --start 0.1 --duration 0.4 -o track.csv
  near 1e-5 <(read_track track.Pitch) <(echo 0.100,0.500; rows_of track.csv)
}

@test "pitchtier has a point for every voiced row" {
  katessel track note.wav --start 0.1 --duration 0.4 --format pitchtier > track.PitchTier
  [ "$(read_track track.PitchTier | head -n 1)" = 0.100,0.500 ]
  read_track track.PitchTier | tail -n +2 | cmp - <(awk -F, -v OFS=, 'NR > 1 && $2 > 0 { print $1, $2 }' note.csv)
  katessel track note.wav --threshold 9 --format pitchtier > track.PitchTier
  [ "$(read_track track.PitchTier)" = 0.000,0.600 ]
}

@test "lab has segments that meet between the rows and cover the part" {
  katessel track note.wav --format lab > track.lab
  read_track track.lab > segments
  awk -F, 'NR == FNR { if (FNR > 1) voiced[$1] = $2 > 0; next }
    { if ($1 != end + 0 || $3 == label) bad = 1; end = $2; label = $3
      for (t in voiced) if (t > $1 && t < $2 && voiced[t] != ($3 == "voiced")) bad = 1 }
    END { exit bad || FNR < 3 || end != 0.6 }' note.csv segments
  # Half a row, not a whole one, lies between a segment and the row that is not in it.
  grep -qE '^0\.0000,0\.[0-9]{2}[27]5,' segments
  katessel track note.wav --format lab --start 0.301 --duration 0.05 > track.lab
  [ "$(read_track track.lab)" = 0.3010,0.3510,voiced ]
}

@test "midi has the notes and an end" {
  katessel track melody.wav --format midi > track.mid
  read_track track.mid > notes
  cat notes
  near 0.035 notes <(printf '%s\n' 0.2,0.5,57 0.5,0.8,64 1.0,1.3,59 1.5)
  # Silence has no notes, but an end.
  katessel track note.wav --threshold 9 --format midi -o silent.mid
  [ "$(read_track silent.mid)" = 0.600 ]
}

@test "loudness: a column in every format with rows, and the velocity of notes" {
  # Two notes, the second 12 dB below the first.
  sound two.wav 44100 0.9 tone 220 1 0 0.25
  katessel track two.wav --loudness > two.csv
  "$PYTHON" - <<'PY'
import csv, numpy as np, soundfile
sound, rate = soundfile.read("two.wav")
with open("two.csv") as f:
    rows = [(float(r["time"]), float(r["loudness"])) for r in csv.DictReader(f)]
assert len(rows) == 180
for time, loudness in rows:
    part = sound[int(np.ceil(max(time - 0.02, 0) * rate - 1e-6)):int(np.ceil((time + 0.02) * rate - 1e-6))]
    assert abs(loudness - max(10 * np.log10(np.mean(part ** 2) + 1e-30), -120)) < 0.01, (time, loudness)
PY
  katessel track two.wav --loudness --mode live | cut -d, -f 1,4 | cmp - <(cut -d, -f 1,4 two.csv)
  samples=$(katessel track two.wav --loudness --start 0.7 --format tsv | tail -n +2 | cut -f 4)
  [ "$samples" = "$(awk -F, '$1 >= 0.7 && NR > 1 { print $4 }' two.csv)" ]
  for format in json jsonl npy; do
    katessel track two.wav --loudness --format $format > two.$format
    "$PYTHON" - $format > loudness <<'PY'
import json, numpy as np, sys
with open("two." + sys.argv[1], "rb") as f:
    values = {"json": lambda: json.load(f)["track"]["loudness"], "jsonl": lambda: [json.loads(line)["loudness"] for line in f],
              "npy": lambda: np.load(f)[:, 3]}[sys.argv[1]]()
print(*("%.2f" % v for v in values), sep="\n")
PY
    near 0.011 loudness <(tail -n +2 two.csv | cut -d, -f 4)
  done
  katessel track two.wav -o two.mid --tempo 97
  [ "$("$PYTHON" -c 'import mido
print(*(m.tempo if m.type == "set_tempo" else m.velocity for m in mido.MidiFile("two.mid") if m.type in ("note_on", "set_tempo")))')" = "618557 112 56" ]
  read_track two.mid > notes
  near 0.035 notes <(printf '%s\n' 0,0.3,57 0.6,0.9,57 0.9)
}

@test "--unit and --unvoiced" {
  katessel track note.wav --unit midi > midi.csv
  [ "$(head -n 1 midi.csv)" = time,midi,confidence ]
  paste -d, note.csv midi.csv | awk -F, 'NR > 1 && ($2 == 0 ? $5 != "nan" : (69 + 12 * log($2 / 440) / log(2) - $5)^2 > 1e-5) { bad = 1 }
    END { exit bad || NR < 120 }'
  katessel track note.wav --unit cents > cents.csv
  katessel track note.wav --cents | cmp - cents.csv
  katessel track note.wav --unvoiced nan > nan.csv
  sed 's/,0\.000,/,nan,/' note.csv | cmp - nan.csv
  for unit in hz cents; do
    katessel track note.wav --unit $unit --unvoiced nan | grep -v nan > expected.csv
    katessel track note.wav --unit $unit --unvoiced drop | cmp - expected.csv
    katessel track note.wav --unit $unit --unvoiced drop --format npy > track.npy
    read_track track.npy > rows
    near 0.0011 rows <(rows_of expected.csv)
  done
}

@test "--fmin and --fmax" {
  sound two.wav 24000 0.6 melody 57:0.3 69:0.3
  katessel track two.wav --fmin 300 > high.csv
  katessel track two.wav --fmax 300 > low.csv
  katessel track two.wav > all.csv
  track_report high.csv median 430 450
  track_report low.csv median 215 225
  # Each row is voiced in one of them, as it was in the whole; what it is sure of stays.
  paste -d, all.csv high.csv low.csv | awk -F, 'NR > 1 && ($5 + $8 != $2 || $5 * $8 != 0 || $6 != $3 || $9 != $3) { bad = 1 }
    END { exit bad || NR < 120 }'
}

@test "the extension of -o says the format, --format goes before it" {
  for name in track.tsv track.json track.PitchTier track.lab track.mid; do
    katessel track note.wav -o $name
    ! cmp -s $name note.csv
    katessel track note.wav -o "$name.csv" --format "${name##*.}"
    cmp $name $name.csv
  done
  for name in track.txt track.CSV track "x --format TXT"; do
    katessel track note.wav -o $name --force
    name=${name%% *}
    cmp $name note.csv
  done
  katessel track note.wav -o track.MIDI
  cmp track.MIDI track.mid
  katessel track note.wav -o track.pitchtier
  cmp track.pitchtier track.PitchTier
  # As known pitch: what was not tracked is not to be scored.
  katessel track note.wav -o whole.f0
  awk -F, 'NR > 1 { print $1, $2 }' note.csv | cmp - whole.f0
  katessel track note.wav -o part.f0 --start 0.3 --duration 0.1
  [ "$(grep -c ' -1.000$' part.f0) $(wc -l < part.f0)" = "60 80" ]
  katessel eval --ref part.f0 note.csv | grep -qE '^note.csv +1 +0.0 +1.000'
  # Beside the recordings.
  katessel track note.wav melody.wav --format pitchtier
  cmp note.f0.PitchTier track.PitchTier
}

@test "eval and synth read what track writes" {
  katessel track melody.wav -o truth.f0
  katessel track melody.wav -o track.csv
  katessel synth track.csv -o csv.wav
  for kind in csv tsv json jsonl npy Pitch PitchTier f0; do
    katessel track melody.wav -o track.$kind --force
    katessel eval --ref truth.f0 track.$kind --csv figures.csv > table.txt
    awk -F, 'NR == 1 { for (i = 1; i <= NF; ++i) column[$i] = i }
      END { exit !($column["f1"] == 1 && $column["overall_accuracy"] == 1) }' figures.csv
    katessel synth track.$kind -o $kind.wav
    case $kind in json | jsonl) cmp csv.wav $kind.wav ;; esac
    # Those of many recordings, too.
    mkdir corpus tracks
    cp melody.wav truth.f0 corpus
    mv corpus/truth.f0 corpus/melody.f0
    cp track.$kind tracks/melody.f0.$kind
    katessel eval --ref corpus --tracks tracks --csv more.csv > table.txt
    cmp <(cut -d, -f 3- figures.csv) <(head -n 2 more.csv | cut -d, -f 3-)
    rm -r corpus tracks
  done
  # Notes are in tune, and the bends within them lead back to the track.
  katessel track melody.wav -o bent.mid --pitch-bend --tempo 97
  katessel track melody.wav -o plain.mid
  for case in "plain 0 0.5" "bent 0.99 1"; do
    set -- $case
    katessel eval --ref truth.f0 $1.mid --csv figures.csv > table.txt
    awk -F, -v least=$2 -v most=$3 'NR == 1 { for (i = 1; i <= NF; ++i) column[$i] = i }
      END { r = $column["raw_pitch_accuracy_10"]; exit !(r >= least && r <= most && $column["f1"] > 0.95) }' figures.csv
  done
}

@test "nothing binary on a terminal" {
  run script -qec '"$KATESSEL_TOOL" track note.wav --format midi' /dev/null
  [ "$status" -eq 2 ]
  [[ $output == *"cannot write: standard output: expected a file or a pipe for midi, found a terminal"* ]]
}
