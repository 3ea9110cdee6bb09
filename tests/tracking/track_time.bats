# The instants that the rows of a track belong to, at every way of streaming a recording.
load ../tool/common

setup_file() {
  cd "$BATS_FILE_TMPDIR"
  "$PYTHON" "$HERE/timing_model.py" timing.weights
  for rate in 8000 11025 16000 22050 24000 44100 48000 57600 96000 300000; do
    sound clicks$rate.wav $rate 0.6 clicks
  done
  sound tone.wav 24000 0.3 tone 200
  # In whole words: one sample short of 0.3 s, and one more.
  sound short.wav 24000 0.29995834 silence
  sound long.wav 24000 0.30004167 silence
  sound tiny.wav 24000 0.0001 silence
}

setup() { cd "$BATS_FILE_TMPDIR"; }

@test "clicks are where the track says, at every rate" {
  for rate in 8000 11025 16000 22050 24000 44100 48000 57600 96000 300000; do
    for mode in offline live; do
      katessel track clicks$rate.wav --mode $mode --model timing.weights > track.csv
      track_report track.csv rows 120
      track_report track.csv clicks $rate 0.1
    done
  done
}

@test "blocks that lose samples keep the right time" {
  # Of 49 samples at 44.1 kHz the engine takes 48, and gives 26 for what would be 26.7: 25 ms a second.
  while read -r rate size; do
    katessel track clicks$rate.wav --model timing.weights --block-size $size > track.csv
    track_report track.csv clicks $rate 0.2
  done <<< "44100 49
11025 55
8000 7
24000 77"
}

@test "a glide is neither late nor early" {
  # Of the real model's 5 ms hops the glide's pitch must not be off by another one.
  for rate in 24000 44100 48000 16000; do
    sound glide.wav $rate 1.2 glide 150 400
    for mode in offline live; do
      katessel track glide.wav --mode $mode > track.csv
      track_report track.csv lag 150 400 1.2 5
    done
  done
}

@test "there is a row for every 5 ms that begins inside the recording" {
  for case in "tone 60" "short 60" "long 61" "tiny 1"; do
    set -- $case
    for mode in offline live; do
      katessel track $1.wav --mode $mode > track.csv
      track_report track.csv rows $2
    done
  done
}

@test "a recording that begins with a tone is voiced from the first row on" {
  for mode in offline live; do
    katessel track tone.wav --mode $mode > track.csv
    track_report track.csv median 190 210 0 0.012
    [[ $(sed -n 2p track.csv) != 0.000,0.000,* ]]
  done
}
