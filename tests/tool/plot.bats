# `katessel plot`: pictures, judged by decoding them.
load common

setup() {
  enter_folder
  sound tone.wav 24000 2 tone 200
}

picture() { "$PYTHON" "$HERE/picture_report.py" "$@"; }

# A track at 300 Hz that is voiced from 0.5 to 0.8 s.
write_track() {
  awk 'BEGIN { print "time,frequency,confidence"
    for (i = 0; i < 400; ++i) printf "%.3f,%d,0.9\n", i * 0.005, (i >= 100 && i <= 160) ? 300 : 0 }' > "$1"
}

@test "the pitch lies where the axes say, and so do the harmonics" {
  katessel plot tone.wav -o a.png
  picture a.png size 1200 700
  picture a.png shades 100
  picture a.png line red log,50,2000,0,2 200 0 2
  picture a.png ridge log,50,2000,0,2 400
  picture a.png ridge log,50,2000,0,2 1000
  # Another size, a part of the time, linear frequencies.
  katessel plot tone.wav -o b.png --size 640x400 --start 0.5 --duration 0.25 --linear --bottom-frequency 100 \
    --top-frequency 900
  picture b.png size 640 400
  picture b.png line red linear,100,900,0.5,0.75 200 0.5 0.75
  picture b.png ridge linear,100,900,0.5,0.75 600
}

@test "given tracks and overlays lie at their own times and frequencies" {
  write_track track.csv
  awk 'BEGIN { for (i = 0; i < 400; ++i) printf "%.3f %d\n", i * 0.005, i < 200 ? -1 : 500 }' > truth.f0
  katessel plot tone.wav -o a.png --track track.csv --overlay truth=truth.f0 --size 800x500
  picture a.png line red log,50,2000,0,2 300 0.5 0.8
  picture a.png line green log,50,2000,0,2 500 1 1.995
  # A part that begins late keeps the times; so does one that is tracked.
  katessel plot tone.wav -o b.png --track track.csv --from 0:00.25 --to 0.75 --size 800x500
  picture b.png line red log,50,2000,0.25,0.75 300 0.5 0.75
  sound late.wav 44100 3.5 melody -:2.7 59.2131:0.8  # 250 Hz
  katessel plot late.wav -o c.png --start 2.5 --size 800x500
  picture c.png line red log,50,2000,2.5,3.5 250 2.7 3.5
  # The threshold takes the pitch away.
  katessel plot tone.wav -o d.png --threshold 1000 --size 800x500
  run picture d.png line red log,50,2000,0,2 200 0 2
  [[ $output == *"no such line"* ]]
}

@test "an SVG holds the same" {
  katessel plot tone.wav -o a.svg --size 900x500
  picture a.svg size 900 500
  picture a.svg shades 100
  # The line of the pitch and the frame's two panels are strokes.
  grep -q 'stroke:rgb(90%,25%,5%)' a.svg
}

@test "an hour can be read: the middle of many rows, not all of them" {
  # At 200 Hz, one row in eleven at 400: a line through all rows would be a block up to there.
  sound long.wav 1000 400 silence
  awk 'BEGIN { print "time,frequency,confidence"
    for (i = 0; i < 80000; ++i) printf "%.3f,%d,%s\n", i * 0.005, i % 11 ? 200 : 400, i % 11 ? 0.9 : 0.1 }' > track.csv
  katessel plot long.wav -o a.png --track track.csv
  picture a.png line red log,50,2000,0,400 200 0 400
  picture a.png bare log,50,2000,0,400 250 500
}

@test "silence, sound shorter than a window, and very low rates are drawn" {
  sound silence.wav 48000 0.2 silence
  sound short.wav 48000 0.004 tone 200
  sound low.wav 1000 0.5 tone 200
  for name in silence short low; do
    katessel plot $name.wav -o $name.png
    picture $name.png size 1200 700
  done
  picture low.png ridge log,50,2000,0,0.5 400
}
