# What cannot be done: the status, one clear line that says what was expected and what was found, nothing left behind.
load common

setup_file() {
  cd "$BATS_FILE_TMPDIR"
  sound good.wav 24000 0.1 tone 200
  sound both.wav 48000 0.1 both 200 300
  sound nan.wav 24000 0.1 bad nan 0.05
  sound huge.wav 24000 0.1 bad 1e30 0.05
  sound empty.wav 24000 0 silence
  sound slow.wav 50 1 silence
  sound fast.wav 250000 0.01 silence
  head -c 30 good.wav > header_cut.wav
  head -c 1001 good.wav > cut.raw
  : > nothing.raw
  echo "not a sound" > text.wav
  : > list
  # Truth and tracks.
  awk 'BEGIN { for (i = 0; i < 20; ++i) printf "%.3f 200\n", i * 0.005 }' > truth.f0
  awk 'BEGIN { print "time,frequency,confidence"; for (i = 0; i < 20; ++i) printf "%.3f,200,0.9\n", i * 0.005 }' > track.csv
  sed '3s/200/nan/' truth.f0 > nan.f0
  sed '3s/.*/0.010 high/' truth.f0 > bad.f0
  sed 3d truth.f0 > gap.f0
  sed '1s/frequency/cents/' track.csv > cents.csv
  printf 'time,frequency\n0,200\n1e9,200\n' > long.csv
  printf 'time,frequency\n' > rowless.csv
  echo '{"track":{"time":[0]}}' > bad.json
  echo '{"time":"a","frequency":1}' > bad.jsonl
  printf "\x93NUMPY\1\0\x76\0%-117s\n" "{'descr': '<f8', 'fortran_order': False, 'shape': (1000000, 3), }" > bad.npy
  katessel track good.wav --format midi | head -c 40 > bad.mid
  cp bad.npy bad.Pitch
  printf 'File type = "ooTextFile"\nObject class = "PitchTier"\nnumber = 2\nvalue = 200\nnumber = 1\nvalue = 200\n' > fall.PitchTier
}

setup() {
  enter_folder "$BATS_FILE_TMPDIR"/*.{wav,raw,f0,csv,json,jsonl,npy,mid,Pitch,PitchTier} "$BATS_FILE_TMPDIR/list"
  mkdir folder
  mkfifo fifo
  printf 'time,frequency\ninf,200\n' > far.csv
  printf '0,nan,nan\n0.005,0,1e39\n0.01,100,nan\n' > sure.csv
}

# Reads lines of STATUS | ARGUMENTS | TEXT: what fails_with must find for these arguments of `katessel`.
refuses() {
  local status_wanted arguments text
  while IFS='|' read -r status_wanted arguments text; do
    eval "set -- $arguments"
    fails_with $status_wanted "${text# }" "$@"
  done
}

@test "track: recordings" {
  refuses <<'TABLE'
1 | track none.wav | cannot read the recording: none.wav: expected an audio file, found No such file
1 | track folder | cannot read the recording: folder: expected an audio file (-r for folders), found a folder
1 | track text.wav -o out.csv | cannot read the recording: text.wav: expected a known audio format, found 
1 | track header_cut.wav -o out.csv | cannot read the recording: header_cut.wav: expected a known audio format, found 
1 | track empty.wav -o out.csv | empty.wav: expected at least 1 sample, found 0 samples
1 | track nan.wav -o out.csv | nan.wav: expected samples within +-1e+06, found nan at 0.05 s
1 | track huge.wav -o out.csv | huge.wav: expected samples within +-1e+06, found 1e+30 at 0.05 s
1 | track slow.wav --mode live -o out.csv | slow.wav: expected a sample rate of 94
1 | track $'two\nlines.wav' | two lines.wav
1 | track both.wav --channel 3 | cannot read the recording: both.wav: expected channel 3, found 2 channels
1 | track good.wav --channel 2 -o out.csv | good.wav: expected channel 2, found 1 channel
1 | track good.wav --start 0.1 | cannot read the recording: good.wav: expected sound at 0.1 s, found its end before that
2 | track good.wav --start=-1 | wrong usage: --start: expected a number from 0 to 1e+09, found -1
2 | track good.wav --duration 0 | wrong usage: --duration: expected a number from 0.001 to 1e+09, found 0
2 | track good.wav --from 1:60 | wrong usage: --start: expected a number from 0 to 1e+09, found 1:60
2 | track good.wav --to 1 --from 0:02 | wrong usage: --to: expected an instant after 2 s, found 1
2 | track good.wav --to 1 --duration 1 | wrong usage: --to excludes --duration
1 | track cut.raw --raw f32:48000:2 | cut.raw: expected whole frames of 8 bytes, found one of 1 at the end
1 | track nothing.raw --raw s16:48000 | nothing.raw: expected at least 1 sample, found 0 samples
2 | track . -r --raw f32:48000 | wrong usage: --raw: expected recordings by name, found -r
TABLE
  for form in f32 f16:48000 f32:0 f32:48000:0 f32:48000:2:1 f32:48k f32: s16:-8000; do
    fails_with 2 "wrong form of sound: --raw: expected f32:RATE, f64:RATE, s16:RATE, s24:RATE or s32:RATE" track good.wav "--raw=$form"
  done
}

@test "track: options" {
  refuses <<'TABLE'
2 | | wrong usage: 
2 | track | wrong usage: 
2 | trak good.wav | wrong usage: trak: expected a command, perhaps track (`katessel help` lists them), found none of that name
2 | xyzzy | wrong usage: xyzzy: expected a command (`katessel help` lists them), found none of that name
2 | help ogoom | wrong usage: ogoom: expected a command (`katessel help`
2 | --hlep | wrong usage: --hlep: expected an option, perhaps --help (
2 | model inpsect good.wav | wrong usage: inpsect: expected a command, perhaps inspect (`katessel help model` lists them)
2 | track good.wav --modle=x | wrong usage: --modle=x: expected an option, perhaps --model (`katessel help track` lists them)
2 | track good.wav --no-such-option | wrong usage: --no-such-option: expected an option (
2 | track good.wav --format xyz | wrong usage: --format: expected one of csv,tsv,json,
2 | track good.wav --threshold nan | wrong usage: --threshold: expected a number from 0 to 1e+06, found nan
2 | eval --ref truth.f0 track.csv --threshold=-nan | --threshold: expected a number from 0 to 1e+06, found -nan
2 | synth good.wav -o a.wav --threshold inf | --threshold: expected a number from 0 to 1e+06, found inf
2 | bench --seconds nan | --seconds: expected a number from 0.1 to 600, found nan
2 | track good.wav --fmin 200 --fmax 100 | wrong frequency: --fmax: expected a number from --fmin up, found 100
2 | track good.wav --fmin nan | wrong usage: --fmin: expected a number from 0 to 1e+06, found nan
2 | track good.wav --fmax inf | wrong usage: --fmax: expected a number from 0 to 1e+06, found inf
2 | track good.wav --mode offline --block-size 240 | --block-size
2 | track good.wav --block-size 22977 | wrong block size: good.wav at 24000 Hz: expected 1 to 22976 samples, found 22977
2 | track fast.wav --block-size 512 | expected no block size at this rate, found 512
2 | track good.wav --cents --unvoiced zero | wrong usage: --unvoiced zero: expected --unit hz, found --unit cents, where 0 is a pitch
2 | track good.wav --format lab --cents | wrong usage: --unit: expected a format with rows, found lab
2 | track good.wav -o n.mid --unvoiced nan | wrong usage: --unvoiced: expected a format with rows, found midi
2 | track good.wav --format lab --loudness | wrong usage: --loudness: expected a format with rows, found lab
2 | track good.wav --tempo 90 | wrong usage: --tempo: expected --format midi, found csv
2 | track good.wav --pitch-bend -o a.json | wrong usage: --pitch-bend: expected --format midi, found json
2 | track good.wav --cents --unit hz | wrong usage: 
2 | track good.wav both.wav --skip-existing --force | wrong usage: 
TABLE
  katessel track good.wav --block-size 22976 > largest.csv
  for shard in 0/3 4/3 1 1/ /2 1/2/3 a/b -1/2 1/0; do
    fails_with 2 "wrong shard: --shard: expected K/N with K from 1 to N, found $shard" track good.wav "--shard=$shard"
  done
}

@test "track: lists and outputs" {
  refuses <<'TABLE'
1 | track --files-from none | cannot read the list: none: expected a text file, found No such file
1 | track --files-from folder | cannot read the list: folder: expected a text file, found a folder
1 | track --files-from list | nothing to track: list: expected at least one recording, found none
1 | track good.wav -o none/out.csv | cannot write: none/out.csv: expected an existing folder, found none
2 | track good.wav -o good.wav --format csv | cannot write: good.wav: expected a file of its own, found one that is read
1 | track good.wav both.wav -o list | cannot write: list: expected a folder, found a file
2 | track good.wav both.wav -o - | wrong usage: -o -: expected one recording, found a run of several
2 | track good.wav -o x.xyz | unknown kind of track: x.xyz: expected a name that ends with one of .txt, .csv, .tsv, .json, .jsonl, .npy, .PitchTier, .TextGrid, .Pitch, .lab, .mid, .f0, or --format, found .xyz
2 | track good.wav both.wav -o tracks.CSV | wrong usage: -o tracks.CSV: expected a folder for the tracks of several recordings, found the name of one track
1 | track good.wav -o track.csv | cannot write: track.csv: expected no such file yet, or --skip-existing or --force, found one
1 | track --files-from fifo | cannot read the list: fifo: expected a text file, found a pipe
1 | track --files-from /dev/zero | cannot read the list: /dev/zero: expected a text file, found a device
1 | track fifo | cannot read the recording: fifo: expected an audio file, or - for standard input, found a pipe
1 | track /dev/zero --raw f32:48000 | cannot read the recording: /dev/zero: expected an audio file, or - for standard input, found a device
1 | track good.wav --model fifo | bad model: fifo: expected a file, found a pipe
1 | track good.wav --model /dev/zero | bad model: /dev/zero: expected a file, found a device
1 | track good.wav --model folder | bad model: folder: expected a file, found a folder
1 | eval --ref fifo track.csv | cannot read the pitch: fifo: expected a text file, found a pipe
1 | synth far.csv -o a.wav | far.csv: expected times within +-1e+09 s, in line 2, found inf s
1 | synth sure.csv -o a.wav | sure.csv: expected confidences that are numbers, in line 3, found nan
2 | track good.wav - | wrong usage: -: expected standard input as the only recording
TABLE
  run --separate-stderr bash -c '"$KATESSEL_TOOL" track good.wav > /dev/full'
  [ "$status" -eq 1 ]
  [ "$stderr" = "katessel: cannot write: standard output: expected room for the result, found No space left on device" ]
}

@test "track: a failed write leaves the older result alone" {
  echo old > out.csv
  sound longer.wav 24000 0.5 tone 200
  # Room for 1024 bytes, and for the message.
  run --separate-stderr bash -c 'ulimit -f 1; "$KATESSEL_TOOL" track longer.wav -o out.csv --force'
  [ "$status" -eq 1 ]
  [[ $stderr == "katessel: cannot write: "*"/out.csv: expected room for the result, found File too large" ]]
  [ "$(cat out.csv)" = old ]
  [ "$(ls -A | grep -c part)" = 0 ]
}

@test "eval, bench, model" {
  refuses <<'TABLE'
1 | eval --ref folder | recordings with .f0 files
1 | eval --ref absent | nothing there
2 | eval --ref truth.f0 track.csv --csv track.csv | one that is read
1 | eval --ref nan.f0 track.csv | nan.f0: expected a frequency, 0 or -1 in line 3
1 | eval --ref bad.f0 track.csv | bad.f0: expected 2 numbers in line 3
1 | eval --ref gap.f0 track.csv | gap.f0: expected 0.01 s in line 3
1 | eval --ref truth.f0 cents.csv | frequencies in Hz
1 | eval --ref truth.f0 bad.json | cannot read the pitch: bad.json: expected JSON whose track has time and frequency [Hz], found none
1 | eval --ref truth.f0 bad.jsonl | cannot read the pitch: bad.jsonl: expected a number in line 1, found "a"
1 | eval --ref truth.f0 bad.npy | cannot read the pitch: bad.npy: expected the bytes of 1000000 rows
1 | eval --ref truth.f0 bad.mid | cannot read the pitch: bad.mid: expected a whole MIDI file, found its end within 
1 | eval --ref truth.f0 bad.Pitch | cannot read the pitch: bad.Pitch: expected a text file of Praat
1 | eval --ref truth.f0 fall.PitchTier | fall.PitchTier: expected times that rise, in line 6
1 | synth none.mid -o a.wav | cannot read the pitch: none.mid: expected a track, found No such file
2 | bench --rate 0 | wrong usage: 
1 | model inspect none.weights | bad model: none.weights: expected a layer weight file, found one that cannot be opened: No such file or directory
1 | model hash none.weights | cannot read the file: none.weights: expected a readable file, found No such file
TABLE
}

@test "synth" {
  refuses <<'TABLE'
2 | synth track.csv -o a.mp3 | unknown kind of sound file: a.mp3: expected a name that ends with .wav or .flac, found .mp3
2 | synth track.csv -o a.wav --stereo | --stereo: expected a recording for the left, with --mix, found none
2 | synth good.wav -o a.wav --rate 48000 | --rate: expected a track without a recording
2 | synth track.csv -o a.wav --model "$MODEL" | --model: expected a recording to track, found a track, track.csv
2 | synth track.csv --mix good.wav -o ../work/good.wav | ../work/good.wav: expected a file of its own
1 | synth none.csv -o a.wav | cannot read the pitch: none.csv
1 | synth long.csv -o a.wav | long.csv: expected times from 0 to 43200 s, found 1e+09 s
1 | synth rowless.csv -o a.wav | rowless.csv: expected at least one row
TABLE
}

@test "plot" {
  katessel plot --help > help.txt || skip "built without cairo"
  cp track.csv track.png
  refuses <<'TABLE'
2 | plot good.wav -o a.jpg | unknown kind of picture: a.jpg: expected a name that ends with .png or .svg, found .jpg
2 | plot good.wav -o a | found no extension
1 | plot good.wav -o nowhere/a.png | cannot write: nowhere/a.png: expected an existing folder
2 | plot good.wav -o a.png --size 1200x700x1 | wrong size
2 | plot good.wav -o a.png --size 30000x700 | wrong size
2 | plot good.wav -o a.png --duration nan | --duration: expected a number from 0.001 to 1e+09, found nan
2 | plot good.wav -o a.png --range nan | --range: expected a number from 1 to 200, found nan
2 | plot good.wav -o a.png --top-frequency 1e300 | --top-frequency: expected a number from 1 to 1e+06, found 1e300
1 | plot good.wav -o a.png --start 2 | cannot read the recording: good.wav: expected sound at 2 s, found its end before that
2 | plot good.wav -o a.png --bottom-frequency 0 | --bottom-frequency: expected more than 0
2 | plot good.wav -o a.png --top-frequency 50 | --top-frequency: expected more than the bottom's 50 Hz, found 50
2 | plot good.wav -o a.png --overlay track.csv | wrong overlay: --overlay: expected NAME=FILE, found track.csv
1 | plot good.wav -o a.png --overlay x=none.csv | cannot read the pitch: none.csv
2 | plot good.wav -o a.png --track track.csv --model "$MODEL" | --model: expected a recording to track
2 | plot good.wav -o track.png --track track.png | expected a file of its own
TABLE
}

@test "what is read is not written over, whatever leads there" {
  mkdir corpus tracks
  cp good.wav corpus/x.wav
  cp truth.f0 corpus/x.f0
  cp track.csv tracks/x.csv
  cp "$MODEL" m.weights
  cp "${MODEL%.*}.json" m.json
  ln good.wav hard.csv
  ln -s ../good.wav folder/good.f0.csv
  ln -s b.f0.csv folder/both.f0.csv
  printf 'list.wav\nboth.wav\n' > list.f0.csv
  cp good.wav list.wav
  ln -s m.json m.wav
  find . -type f -exec sha256sum {} + | sort > ../before
  refuses <<'TABLE'
2 | track good.wav --model m.weights -o m.weights --format csv --force | expected a file of its own, found one that is read
2 | track good.wav --model m.weights -o m.json --force | expected a file of its own, found one that is read
2 | track good.wav -o hard.csv --force | expected a file of its own, found one that is read
2 | track good.wav both.wav -o folder --force | folder/good.f0.csv: expected a file of its own, found one that is read
2 | track --files-from list.f0.csv -o . --force | list.f0.csv: expected a file of its own, found one that is read
2 | eval --ref corpus --csv corpus/x.f0 | corpus/x.f0: expected a file of its own, found one that is read
2 | eval --ref corpus --json corpus/x.wav | corpus/x.wav: expected a file of its own, found one that is read
2 | eval --ref corpus --tracks tracks --json tracks/x.csv | tracks/x.csv: expected a file of its own, found one that is read
2 | eval --ref corpus --model m.weights --json m.json | m.json: expected a file of its own, found one that is read
2 | eval --ref truth.f0 track.csv --csv a.csv --json ./a.csv | expected one file for each result, found the same as a.csv
2 | synth good.wav --model m.weights -o m.wav | m.wav: expected a file of its own, found one that is read
TABLE
  find . -type f -exec sha256sum {} + | sort | diff ../before -
}

@test "a damaged recording is not tracked as if it were whole" {
  "$PYTHON" "$HERE/damage.py"
  for form in aiff au caf flac mp3 oga opus rf64 sph w64 wav; do
    katessel track whole.$form > whole.csv
    fails_with 1 "half.$form: expected " track half.$form
    if [ $form = caf ]; then continue; fi  # libsndfile refuses half of one
    run --separate-stderr "$KATESSEL_TOOL" track half.$form --allow-damaged -o half.csv
    echo "$form: $stderr"
    [ "$status" -eq 0 ]
    [[ $stderr == *"katessel: warning: damaged recording: half.$form: expected "*", found "* ]]
    count=$(wc -l < half.csv)
    # Up to the damage the track is that of the whole; the last rows hear that there is no more.
    [ "$count" -gt 60 ] && [ "$count" -lt 400 ]
    head -n $((count - 30)) half.csv | paste -d, - <(head -n $((count - 30)) whole.csv) |
      awk -F, 'NR > 1 && ($1 != $4 || ($2 - $5)^2 > 1 || ($3 - $6)^2 > 0.01) { bad = 1 } END { exit bad }'
    rm half.csv
  done
  for form in flac mp3 oga opus; do
    fails_with 1 "hole.$form: expected " track hole.$form
    if [ $form != flac ]; then fails_with 1 "damaged recording: hole.$form: expected " track hole.$form --allow-damaged; fi
  done
  # What a writer to a pipe cannot know is no promise; standard input is looked at like a file.
  katessel track endless.wav | cmp - <(katessel track whole.wav)
  run --separate-stderr bash -c '"$KATESSEL_TOOL" track - < half.oga'
  [ "$status" -eq 1 ]
  [[ $stderr == *"damaged recording: -: expected a page that says it is the last, found none"* ]]
  run --separate-stderr "$KATESSEL_TOOL" track half.wav whole.flac --allow-damaged
  [ "$status" -eq 0 ]
  [ "${#stderr_lines[@]}" -eq 1 ]
}

# Whoever starts the tool may have closed its standard input, output or error.
@test "messages do not land in tracks, nor is a result lost unseen" {
  # While it waits for names: a file that it opened now would not become its standard error.
  "$KATESSEL_TOOL" track --files-from - < <(sleep 2) > /dev/null 2>&- 3>&- &
  for try in {1..20}; do
    if [ "$(readlink /proc/$!/fd/2)" = /dev/null ]; then break; fi
    sleep 0.1
  done
  [ "$(readlink /proc/$!/fd/2)" = /dev/null ]
  wait $! || true
  run --separate-stderr bash -c '"$KATESSEL_TOOL" track good.wav >&-'
  [ "$status" -eq 1 ]
  [ "$stderr" = "katessel: cannot write: standard output: expected room for the result, found Bad file descriptor" ]
}
