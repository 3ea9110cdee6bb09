# What can be wrong with the input and the output of `katessel track`: status, one clear line, nothing left behind.
load common

setup_file() {
  cd "$BATS_FILE_TMPDIR"
  sound good.wav 24000 0.1 tone 200
  sound nan.wav 24000 0.1 bad nan 0.05
  sound inf.wav 24000 0.1 bad inf 0.05
  sound huge.wav 24000 0.1 bad 1e30 0.05
  sound empty.wav 24000 0 silence
  sound slow.wav 50 1 silence
  sound fast.wav 250000 0.01 silence
  head -c 30 good.wav > header_cut.wav
  echo "not a sound" > text.wav
  : > nothing.wav
}

setup() { enter_folder "$BATS_FILE_TMPDIR"/*.wav; }

@test "a recording that is not there, or a folder" {
  fails_with 1 "cannot read the recording: none.wav: expected an audio file, found No such file" track none.wav
  mkdir folder
  fails_with 1 "cannot read the recording: folder: expected an audio file (-r for folders), found a folder" track folder
  fails_with 1 "none.wav" track none.wav -o out.csv
}

@test "a recording in no known format" {
  for file in text.wav nothing.wav header_cut.wav; do
    fails_with 1 "cannot read the recording: $file: expected a known audio format, found " track $file -o out.csv
  done
}

@test "a recording without samples" {
  fails_with 1 "empty.wav: expected at least 1 sample, found 0 samples" track empty.wav -o out.csv
}

@test "samples that would poison the track are named with their instant" {
  fails_with 1 "nan.wav: expected samples within +-1e+06, found nan at 0.05 s" track nan.wav -o out.csv
  fails_with 1 "inf.wav: expected samples within +-1e+06, found inf at 0.05 s" track inf.wav -o out.csv
  fails_with 1 "huge.wav: expected samples within +-1e+06, found 1e+30 at 0.05 s" track huge.wav -o out.csv
}

@test "a rate that nothing can convert" {
  fails_with 1 "slow.wav: expected a sample rate of 94" track slow.wav --mode live -o out.csv
}

@test "block sizes that the engine cannot take" {
  fails_with 2 "wrong block size: good.wav at 24000 Hz: expected 1 to 22976 samples, found 22977" track good.wav --block-size 22977
  katessel track good.wav --block-size 22976 > /dev/null
  fails_with 2 "expected no block size at this rate, found 512" track fast.wav --block-size 512
  fails_with 2 "wrong usage: " track good.wav --block-size 0
}

@test "an output that cannot be written" {
  fails_with 1 "cannot write: none/out.csv: expected an existing folder, found none" track good.wav -o none/out.csv
  fails_with 2 "cannot write: good.wav: expected a file of its own, found the recording itself" track good.wav -o good.wav
}

@test "a full standard output is a failure" {
  run --separate-stderr bash -c '"$KATESSEL_TOOL" track good.wav > /dev/full'
  [ "$status" -eq 1 ]
  [ "$stderr" = "katessel: cannot write: standard output: expected room for the result, found No space left on device" ]
}

@test "a failed write leaves the older result alone" {
  echo old > out.csv
  sound longer.wav 24000 0.5 tone 200
  # Room for 1024 bytes, and for the message.
  run --separate-stderr bash -c 'trap "" XFSZ; ulimit -f 1; "$KATESSEL_TOOL" track longer.wav -o out.csv'
  [ "$status" -eq 1 ]
  [[ $stderr == "katessel: cannot write: "*"/out.csv: expected room for the result, found File too large" ]]
  [ "$(cat out.csv)" = old ]
  [ "$(ls -A | grep -c part)" = 0 ]
}

@test "wrong usage" {
  fails_with 2 "wrong usage: " track
  fails_with 2 "wrong usage: " track good.wav --no-such-option
  fails_with 2 "wrong usage: " track good.wav --threshold high
  fails_with 2 "wrong threshold: --threshold: expected a number from 0 up, found nan" track good.wav --threshold nan
  fails_with 2 "found -0.5" track good.wav --threshold=-0.5
  fails_with 2 "wrong usage: "
  fails_with 2 "wrong usage: " sing good.wav
}

@test "a file name with a line break still gives one line" {
  fails_with 1 "two lines.wav" track $'two\nlines.wav'
}
