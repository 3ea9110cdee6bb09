# `katessel track` for many recordings: which, where to, several at a time, what goes wrong, and going on.
load common

# copies FILE.wav NAME..: the recording under other names, in a folder that is made.
copies() {
  local file=$1
  shift
  mkdir -p "${1%/*}"
  tee "$@" < "$file" > /dev/null
}

# same_tracks FOLDER FOLDER: both hold the same tracks and nothing else.
same_tracks() { diff -r "$1" "$2"; }

setup_file() {
  cd "$BATS_FILE_TMPDIR"
  # Short ones of different pitch and rate, so that none can be taken for another.
  sound a.wav 24000 0.05 tone 200
  sound b.wav 44100 0.06 tone 220
  sound c.wav 48000 0.04 tone 240
  sound d.wav 44100 0.05 tone 260
  echo "not a sound" > bad.wav
}

setup() { enter_folder "$BATS_FILE_TMPDIR"/*.wav; }

@test "several recordings: a track beside each, the same as alone" {
  mkdir sub
  mv b.wav sub
  for mode in offline live; do
    for file in a sub/b c d; do katessel track $file.wav --mode $mode > "expected_${file#sub/}.csv"; done
    for threads in 1 3; do
      rm -f ./*.f0.csv sub/*.f0.csv
      run --separate-stderr katessel track c.wav sub/b.wav d.wav a.wav --mode $mode -j $threads
      [ "$status" -eq 0 ]
      [ -z "$output$stderr" ]
      for file in a sub/b c d; do cmp $file.f0.csv "expected_${file#sub/}.csv"; done
    done
  done
  [ "$(find . -name '*.f0.*' | wc -l)" -eq 4 ]
}

@test "three hundred recordings, in one thread and in two" {
  copies a.wav in/a{1..100}.wav
  copies b.wav in/b{1..100}.wav
  copies c.wav in/c{1..100}.wav
  katessel track -r in -j 1 -o one
  katessel track -r in -j 2 -o two
  [ "$(ls one | wc -l)" -eq 300 ]
  same_tracks one two
  for name in a b c; do
    katessel track $name.wav > $name.csv
    cmp one/${name}100.f0.csv $name.csv
  done
}

@test "folders: every recording below, its place kept" {
  copies a.wav in/x/y/song.one.wav
  copies b.wav in/x/LOUD.WAV in/x/.hidden.wav
  copies c.wav in/.hidden/c.wav
  copies c.wav other/c.wav
  cp "$KATESSEL_SOURCE/examples/audio/singing_martin.ogg" in/
  echo text > in/notes.txt
  ln -s ../other in/link
  ln -s ../other/c.wav in/c.wav
  katessel track -r in/ -o out/tracks --format tsv
  [ "$(cd out/tracks && find . -type f | sort | tr '\n' ' ')" = \
    "./c.f0.tsv ./singing_martin.f0.tsv ./x/LOUD.f0.tsv ./x/y/song.one.f0.tsv " ]
  katessel track a.wav --format tsv | cmp - out/tracks/x/y/song.one.f0.tsv
  # A folder of outputs that is there, for one recording; without -r a folder is none.
  katessel track b.wav -o out
  cmp <(katessel track b.wav) out/b.f0.csv
  run --separate-stderr katessel track in a.wav -o flat
  [ "$status" -eq 1 ]
  [[ ${stderr_lines[0]} == "katessel: cannot read the recording: in: expected an audio file (-r for folders), found a folder" ]]
  [ -f flat/a.f0.csv ]
}

@test "--files-from: a file or standard input, names that lead down keep their folders" {
  copies a.wav in/one/a.wav
  copies b.wav in/two/a.wav
  printf '%s\n\n%s\r\n%s' one/a.wav ./two//a.wav "$PWD/c.wav" > list
  cd in
  katessel track --files-from ../list -o ../from_file
  katessel track --files-from - -o ../from_input < ../list
  katessel track --files-from - -o ../from_up <<< "../a.wav"
  cd ..
  [ "$(cd from_file && find . -type f | sort | tr '\n' ' ')" = "./c.f0.csv ./one/a.f0.csv ./two/a.f0.csv " ]
  same_tracks from_file from_input
  [ "$(ls from_up)" = a.f0.csv ]
  cmp <(katessel track b.wav) from_file/two/a.f0.csv
  # Beside the recordings, and with others; folders, too.
  printf 'in\n' > list
  katessel track c.wav -r --files-from list
  [ "$(find . -newer list -name '*.f0.csv' | sort | tr '\n' ' ')" = "./c.f0.csv ./in/one/a.f0.csv ./in/two/a.f0.csv " ]
}

@test "two recordings with one output, or an output that is a recording, before any work" {
  cp c.wav a.flac
  ln -s . here
  for other in a.flac a.wav here/a.wav "$PWD/a.wav"; do
    fails_with 2 "expected the track of one recording, found a.wav and $other" track b.wav a.wav "$other"
  done
  mkdir sub
  cp a.wav sub
  fails_with 2 "cannot write: out/a.f0.csv: expected the track of one recording, found a.wav and sub/a.wav" \
    track a.wav sub/a.wav -o out
  # Of all shards, not of the one that this run is.
  fails_with 2 "found a.flac and a.wav" track a.wav b.wav a.flac --shard 3/3
  katessel track a.wav sub/a.wav
  rm ./*.f0.csv sub/*.f0.csv
  cp a.wav b.f0.csv
  fails_with 2 "cannot write: b.f0.csv: expected a file of its own, found one that is read" \
    track b.wav here/b.f0.csv --force
}

@test "tracks that are there already" {
  echo old > b.f0.csv
  run --separate-stderr katessel track a.wav b.wav c.wav
  [ "$status" -eq 1 ]
  [ -z "$output" ]
  [ "${stderr_lines[0]}" = "katessel: cannot write: b.f0.csv: expected no such file yet, or --skip-existing or --force, found one" ]
  [ "${#stderr_lines[@]}" -eq 1 ]
  [ "$(cat b.f0.csv)" = old ]
  cmp <(katessel track c.wav) c.f0.csv
  rm c.f0.csv
  run --separate-stderr katessel track a.wav b.wav c.wav --skip-existing
  [ "$status" -eq 0 ]
  [ -z "$output$stderr" ]
  [ "$(cat b.f0.csv)" = old ]
  cmp <(katessel track c.wav) c.f0.csv
  katessel track a.wav b.wav c.wav --force
  cmp <(katessel track b.wav) b.f0.csv
  fails_with 1 "a.f0.csv: expected no such file yet, or --skip-existing or --force, found one, as for 2 more of 3 recordings" \
    track a.wav b.wav c.wav
  # The same with one file that is named; an empty file is no track. What is replaced keeps its permissions.
  echo old > out.csv
  chmod 640 out.csv
  katessel track a.wav -o out.csv --skip-existing
  [ "$(cat out.csv)" = old ]
  katessel track a.wav -o out.csv --force
  cmp out.csv a.f0.csv
  [ "$(stat -c %a out.csv)" = 640 ]
  for option in "" --skip-existing; do
    : > a.f0.csv
    katessel track a.wav b.wav -o . $option || [ -z "$option" ]
    cmp out.csv a.f0.csv
  done
}

@test "bad recordings are named in their order, the others are tracked" {
  copies bad.wav in/x{1..9}.wav
  copies a.wav in/a{1..9}.wav
  # This one takes long, and is found to be bad when it is written.
  mkdir empty in/0
  sound in/0/slow.wav 300000 0.5 silence
  for threads in 1 2; do
    mkdir out$threads
    echo file > out$threads/0
    run --separate-stderr katessel track -r in none.wav empty -o out$threads -j $threads
    [ "$status" -eq 1 ]
    [ -z "$output" ]
    [[ ${stderr_lines[0]} == "katessel: cannot write: out$threads/0/slow.f0.csv: expected a folder for it, found "* ]]
    for i in {1..9}; do
      [[ ${stderr_lines[i]} == "katessel: cannot read the recording: in/x$i.wav: expected a known audio format"* ]]
    done
    [[ ${stderr_lines[10]} == *"none.wav: expected an audio file, found No such file"* ]]
    [[ ${stderr_lines[11]} == *"empty: expected recordings in this folder, found none" ]]
    [[ ${stderr_lines[12]} == *"21 recordings: expected a track of each, found 12 without" ]]
    [ "${#stderr_lines[@]}" -eq 13 ]
    [ "$(ls out$threads | wc -l)" -eq 10 ]
  done
  same_tracks out1 out2
  # What is wrong only with some.
  run --separate-stderr katessel track a.wav c.wav --block-size 30000 -o out
  [ "$status" -eq 1 ]
  [[ ${stderr_lines[0]} == *"wrong block size: a.wav at 24000 Hz"* ]]
  [ "$(ls out)" = c.f0.csv ]
}

@test "--shard: every recording is in one of them, whatever the order of the command line" {
  copies a.wav in/a{1..4}.wav
  copies b.wav in/b{1..3}.wav
  for k in 1 2 3; do katessel track in/b*.wav in/a*.wav --shard $k/3 -o out$k; done
  [ "$(ls out1 out2 out3 | tr -s '\n' ' ')" = \
    "out1: a1.f0.csv a4.f0.csv b3.f0.csv out2: a2.f0.csv b1.f0.csv out3: a3.f0.csv b2.f0.csv " ]
  katessel track -r in --shard 2/3 -o again
  same_tracks again out2
  katessel track a.wav --shard 5/5 -o none
  [ ! -e none ]
}

@test "an interrupted run leaves whole tracks, and goes on with --skip-existing" {
  sound long.wav 24000 "${KATESSEL_SLOWED:-4}" tone 200
  copies long.wav in/{1..150}.wav
  mkdir other out
  run "$PYTHON" "$HERE/interrupt.py" SIGTERM other 5 "$KATESSEL_TOOL" track -r in -o other
  [ "$status" -eq 143 ]
  run "$PYTHON" "$HERE/interrupt.py" SIGINT out 5 "$KATESSEL_TOOL" track -r in -o out -j 2
  [ "$status" -eq 130 ]
  [ -z "$output" ]
  count=$(ls out | wc -l)
  echo "$count tracks"
  [ "$count" -ge 4 ] && [ "$count" -lt 150 ]
  [ "$(ls -A out | grep -cv '\.f0\.csv$')" = 0 ]
  katessel track long.wav > whole.csv
  for track in out/*; do cmp "$track" whole.csv; done
  touch -d 2001-01-01 out/*
  katessel track -r in -o out --skip-existing
  [ "$(find out -newermt 2002-01-01 | grep -c csv)" -eq $((150 - count)) ]
  [ "$(cat out/* | cksum)" = "$(for i in {1..150}; do cat whole.csv; done | cksum)" ]
}

@test "an interrupt while a track is being written" {
  # Ten minutes of silence (one, where a sanitizer watches) are some milliseconds of writing; the signal comes as soon as
  # there is a file. That may be too late, so there is more than one attempt.
  head -c $((16000 * 60 * ${KATESSEL_SLOWED:-10})) /dev/zero > silence.raw
  mkdir out
  for attempt in {1..5}; do
    run "$PYTHON" "$HERE/interrupt.py" SIGINT out 1 "$KATESSEL_TOOL" track silence.raw --raw s16:8000 -o out/track.csv
    echo "$status $(ls -A out)"
    [ "$(ls -A out | grep -c part)" = 0 ]
    if [ "$status" -eq 130 ]; then break; fi
    rm out/track.csv
  done
}

@test "temporary files: those of others stay, names may be as long as they can" {
  # With the number that the process will have, as another one may have in a container of its own.
  bash -c 'echo theirs > a.f0.csv.$$.part; exec "$KATESSEL_TOOL" track a.wav b.wav'
  cmp <(katessel track a.wav) a.f0.csv
  [ "$(cat a.f0.csv.*.part)" = theirs ]
  [ "$(ls -A | grep -c part)" = 1 ]
  name=$(printf 'x%.0s' {1..251}).csv
  katessel track a.wav -o "$name"
  cmp "$name" a.f0.csv
}

@test "progress on a terminal, unless told to be quiet" {
  run script -qec '"$KATESSEL_TOOL" track a.wav b.wav c.wav --force' /dev/null
  [ "$status" -eq 0 ]
  [[ $output =~ "of 3 recordings, "[0-9]+" x real time, 0:00 left" ]]
  run script -qec '"$KATESSEL_TOOL" track a.wav bad.wav --force' /dev/null
  # A message has a line of its own.
  [[ $output == *$'\r\e[K'"katessel: cannot read the recording: bad.wav"* ]]
  run script -qec '"$KATESSEL_TOOL" track a.wav b.wav c.wav --force -q' /dev/null
  [ "$status" -eq 0 ]
  [ -z "$output" ]
}

@test "progress through one long recording, not where rows go to the terminal" {
  # Ten minutes of silence and fifteen of tone; less where a sanitizer watches.
  local seconds=600 minutes=15
  [ -z "${KATESSEL_SLOWED:-}" ] || seconds=20 minutes=5
  head -c $((16000 * seconds)) /dev/zero > silence.raw
  track='"$KATESSEL_TOOL" track silence.raw --raw s16:8000 --mode live'
  run script -qec "$track -o a.csv" /dev/null
  [ "$status" -eq 0 ]
  [[ $output =~ $'\r'"tracking "[0-9]+:[0-9][0-9]", "[0-9]+" x real time"$'\e[K' ]]
  [[ $output == *$'\r\e[K' ]]  # it is taken away
  run script -qec "$track -q -o b.csv" /dev/null
  [ -z "$output" ]
  run script -qec "$track --duration 60" /dev/null
  [[ $output != *"real time"* ]]
  run --separate-stderr bash -c "$track -o c.csv"
  [ -z "$output$stderr" ]
  awk "BEGIN { for (i = 0; i < 60 * $minutes; ++i) printf \"%d 200\\n\", i }" > slow.csv
  run script -qec '"$KATESSEL_TOOL" synth slow.csv -o a.wav' /dev/null
  [ "$status" -eq 0 ]
  [[ $output =~ $'\r'"["#*-*"] making the tone "[0-9]+:[0-9][0-9]" of $((minutes - 1)):59, "[0-9]+" x real time, "[0-9]+:[0-9][0-9]" left" ]]
}
