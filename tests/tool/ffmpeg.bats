# Recordings that another program decodes; here one that does as their content says.
load common

setup_file() {
  cd "$BATS_FILE_TMPDIR"
  sound tone.wav 24000 1.5 both 200 300
  "$PYTHON" -c 'import soundfile; soundfile.write("tone.au", *soundfile.read("tone.wav"), subtype="FLOAT")'
  for each in whole half mutters falls nothing endless floods; do echo $each > $each.m4a; done
  mkdir bin
  cat > bin/ffmpeg <<'SH'
#!/bin/bash
while [ "$1" != -i ]; do shift; done
case $(cat -- "${2#file:}") in
  whole) cat tone.au ;;
  half) head -c 90000 tone.au; echo "[aac @ 0x55d0c8] a frame is lost" >&2; exit 1 ;;
  mutters) cat tone.au; echo "partial file" >&2 ;;
  falls) head -c 90000 tone.au; kill -9 $$ ;;
  nothing) exit 3 ;;
  endless) echo $$ > process; trap "" TERM; cat tone.au /dev/zero ;;
  floods) for i in {1..20000}; do echo "frame $i is lost" >&2; done; cat tone.au ;;
esac
SH
  chmod +x bin/ffmpeg
}

setup() {
  enter_folder "$BATS_FILE_TMPDIR"/*.{wav,au,m4a}
  PATH=$BATS_FILE_TMPDIR/bin:$PATH
}

@test "the sound of the other program, and all of it or none" {
  katessel track tone.wav > expected.csv
  for mode in offline live; do
    katessel track tone.wav --mode $mode > expected.csv
    katessel track whole.m4a --mode $mode | cmp - expected.csv
  done
  katessel track tone.wav --channel 2 --start 0.5 > expected.csv
  mv whole.m4a ./-whole.M4A
  katessel track --channel 2 --start 0.5 -- -whole.M4A | cmp - expected.csv
  fails_with 1 "half.m4a: expected sound that ffmpeg decodes to its end, found a frame is lost" track half.m4a -o a.csv
  fails_with 1 "mutters.m4a: expected sound that ffmpeg decodes to its end, found partial file" track mutters.m4a --allow-damaged
  fails_with 1 "falls.m4a: expected sound that ffmpeg decodes to its end, found its end by signal 9" track falls.m4a
  fails_with 1 "nothing.m4a: expected sound that ffmpeg decodes to its end, found its status 3" track nothing.m4a
  fails_with 1 "floods.m4a: expected sound that ffmpeg decodes to its end, found frame 1 is lost" track floods.m4a
  fails_with 1 "none.m4a: expected an audio file, found No such file" track none.m4a
  # It ends with whoever has enough of it.
  timeout 20 "$KATESSEL_TOOL" track endless.m4a --duration 0.2 > part.csv
  [ "$(wc -l < part.csv)" = 41 ]
  ! kill -0 "$(cat process)"
  run --separate-stderr env PATH=/nowhere "$KATESSEL_TOOL" track half.m4a
  [ "$status" -eq 1 ]
  [ "$stderr" = "katessel: cannot read the recording: half.m4a: expected the program ffmpeg for this kind of file (Debian: ffmpeg), found none on the PATH" ]
}

@test "folders count what they pass over" {
  mkdir -p in/more
  cp tone.wav in
  cp whole.m4a in/more/b.m4a
  cp whole.m4a in/a.MKV
  echo text > in/notes.txt
  run --separate-stderr katessel track -r in -o out
  [ "$status" -eq 0 ]
  [ "$stderr" = "katessel: warning: passed over: in: expected recordings that libsndfile reads, found 2 for ffmpeg, which have to be named, the first in/a.MKV" ]
  [ "$(ls out)" = tone.f0.csv ]
  katessel track in/a.MKV in/more/b.m4a -o out
  cmp out/a.f0.csv out/tone.f0.csv
}
