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
  katessel plot tone.wav -o b.png --track track.csv --start 0.25 --duration 0.5 --size 800x500
  picture b.png line red log,50,2000,0.25,0.75 300 0.5 0.75
  sound quiet.wav 44100 2.7 silence
  sound loud.wav 44100 0.8 tone 250
  "$PYTHON" - quiet.wav loud.wav late.wav <<< 'import sys; sys.path.insert(0, "'"$HERE"'")
from sound import write_wav
import struct
parts = [struct.unpack("<%df" % ((len(d) - 44) // 4), d[44:]) for d in (open(p, "rb").read() for p in sys.argv[1:3])]
write_wav(sys.argv[3], 44100, 1, parts[0] + parts[1])'
  katessel plot late.wav -o c.png --start 2.5 --size 800x500
  picture c.png line red log,50,2000,2.5,3.5 250 2.7 3.5
  picture c.png onset log,50,2000,2.5,3.5 2.7
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

@test "what cannot be drawn is refused in one line" {
  write_track track.csv
  fails_with 2 "unknown kind of picture: a.jpg: expected a name that ends with .png or .svg, found .jpg" \
    plot tone.wav -o a.jpg
  fails_with 2 "found no extension" plot tone.wav -o a
  fails_with 2 "--output is required" plot tone.wav
  fails_with 1 "cannot read the recording: none.wav" plot none.wav -o a.png
  fails_with 1 "cannot write: nowhere/a.png: expected an existing folder" plot tone.wav -o nowhere/a.png
  for size in 300x700 1200 1200x700x1 30000x700; do fails_with 2 "wrong size" plot tone.wav -o a.png --size $size; done
  fails_with 2 "--start: expected a time within the 2 s of sound, found 2" plot tone.wav -o a.png --start 2
  fails_with 2 "--duration" plot tone.wav -o a.png --duration 0
  fails_with 2 "--bottom-frequency: expected more than 0" plot tone.wav -o a.png --bottom-frequency 0
  fails_with 2 "--top-frequency: expected more than the bottom's 50 Hz, found 50" plot tone.wav -o a.png --top-frequency 50
  fails_with 2 "wrong overlay: --overlay: expected NAME=FILE, found track.csv" plot tone.wav -o a.png --overlay track.csv
  fails_with 1 "cannot read the pitch: none.csv" plot tone.wav -o a.png --overlay x=none.csv
  fails_with 2 "--model: expected a recording to track" plot tone.wav -o a.png --track track.csv --model "$MODEL"
  cp track.csv track.png
  fails_with 2 "expected a file of its own" plot tone.wav -o track.png --track track.png
}
