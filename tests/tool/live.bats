# `katessel live`: a real JACK server without sound hardware, and a client that plays into it; a sound card of ALSA that plays
# a file. What the build has neither of is skipped.
load common

# One name for all: a server that was killed leaves a place that only its own name gets back, and there are few.
setup_file() { export JACK_DEFAULT_SERVER=katessel_$$ JACK_NO_AUDIO_RESERVATION=1 PULSE_SERVER=unix:/nowhere; }

teardown_file() { rm -f /dev/shm/jack_sem.*_"$JACK_DEFAULT_SERVER"_*; }

setup() {
  enter_folder
  processes=()
}

teardown() {
  local id
  for id in "${processes[@]}"; do { kill "$id" && wait "$id" || true; } 2> /dev/null; done
}

# start_server RATE PERIOD
start_server() {
  if [ -z "$KATESSEL_JACK_PLAYER" ] || ! command -v jackd > /dev/null; then skip "no JACK here"; fi
  jackd --no-realtime -n "$JACK_DEFAULT_SERVER" -d dummy -r "$1" -p "$2" > "$BATS_TEST_TMPDIR/server.txt" 2>&1 3>&- &
  server=$!
  processes=($server "${processes[@]}")
  wait_for katessel live --list
}

# play FREQUENCY
play() {
  "$KATESSEL_JACK_PLAYER" "$1" > "$BATS_TEST_TMPDIR/player.txt" 2>&1 3>&- &
  processes=($! "${processes[@]}")
  wait_for grep -q playing "$BATS_TEST_TMPDIR/player.txt"
}

# wait_for COMMAND..: until it succeeds, for up to 10 s.
wait_for() {
  local try
  for try in {1..100}; do
    if "$@" > /dev/null 2>&1; then return 0; fi
    sleep 0.1
  done
  cat "$BATS_TEST_TMPDIR/server.txt"
  return 1
}

# shown_twice NOTE: the display has shown it for half a second at least.
shown_twice() { [ "$(grep -c "$1" out.txt)" -ge 2 ]; }

# sound_card FILE: its 44 bytes of header cut off, it is what the default device records, once.
sound_card() {
  if [ -z "$KATESSEL_SOUND_CARD" ]; then skip "no RtAudio here"; fi
  export HOME=$BATS_TEST_TMPDIR
  tail -c +45 "$1" > "$HOME/samples.raw"
  cat > "$HOME/.asoundrc" <<TEXT
pcm_type.recording { lib "$KATESSEL_SOUND_CARD" }
ctl_type.recording { lib "$KATESSEL_SOUND_CARD" }
pcm.!default { type recording file "$HOME/samples.raw" }
ctl.!default { type recording }
TEXT
}

# figure TEXT PATTERN: the number that the text has in the place of the parentheses.
figure() { sed -nE "s/.*$2.*/\1/p" <<< "$1"; }

@test "the pitch of a client's port, as a track and for the eye" {
  # Long periods: a busy machine loses short ones.
  start_server 48000 2048
  play 200
  run --separate-stderr katessel live --list
  [[ $output == *"--port system:capture_1"*"--port player:out"* ]]
  # Tracking in time: 1 s of sound takes 1 s, and rows come on the 5 ms grid.
  run --separate-stderr katessel live --port player:out --duration 1 --csv track.csv
  echo "$output $stderr"
  [ "$status" -eq 0 ]
  [ -z "$stderr" ]
  track_report track.csv rows 200
  track_report track.csv median 198 202 0.2 1
  track_report track.csv voiced 0.7 1
  [[ $output == "listening to player:out at 48000 Hz"*"G3 "*"200 rows, "* ]]
  # Not less than the engine needs without the period that the server's clock is behind, and not much more.
  median=$(figure "$output" 'latency: ([0-9.]+) ms median')
  awk -v m="$median" 'BEGIN { exit !(m > 15 && m < 200) }'
  [ "$(figure "$output" '\(source ([0-9.]+) ms')" = 0.0 ]
  [ "$(figure "$output" 'period ([0-9.]+) ms')" = 42.7 ]
  # To standard output, with the rest on standard error.
  run --separate-stderr katessel live --port player:out --duration 0.5 --csv - --threshold 1000
  [ "${lines[0]}" = time,frequency,confidence ]
  [ "${#lines[@]}" -eq 101 ]
  [[ ${lines[60]} == 0.295,0.000,* ]]
  [[ $stderr == *"100 rows"* ]]
}

@test "without a name: the first port with sound from outside, its latency counted" {
  start_server 44100 2048
  run --separate-stderr katessel live --duration 0.6 --csv quiet.csv
  echo "$output $stderr"
  [ "$status" -eq 0 ]
  [[ $output == "listening to system:capture_1 at 44100 Hz"* ]]
  [ "$(figure "$output" '\(source ([0-9.]+) ms')" = 46.4 ]
  track_report quiet.csv rows 120
  track_report quiet.csv voiced 0 0
}

@test "Ctrl-C ends it, with the track written" {
  start_server 48000 2048
  play 330
  "$KATESSEL_TOOL" live --port player:out --csv track.csv > out.txt 2> err.txt 3>&- &
  live=$!
  processes=($live "${processes[@]}")
  wait_for shown_twice E4
  # Second by second, under another name.
  wait_for eval "grep -q '^1\.0' track.csv.*.part"
  [ ! -e track.csv ]
  kill -INT $live
  wait $live
  [ ! -s err.txt ]
  grep -q ' xruns, 0 samples dropped' out.txt
  track_report track.csv median 310 340 0.2 100
}

@test "a server that goes away ends it in one line, with the track written" {
  for way in TERM KILL; do
    rm -f out.txt
    start_server 48000 2048
    play 250
    timeout 30 "$KATESSEL_TOOL" live --port player:out --csv $way.csv > out.txt 2> err.txt 3>&- &
    live=$!
    processes=($live "${processes[@]}")
    wait_for shown_twice B3
    kill -$way $server
    wait $server 2> /dev/null || true
    status=0
    wait $live || status=$?
    [ "$status" -eq 1 ]
    [ "$(cat err.txt)" = "katessel: listening ended early: player:out: expected a source that stays, found one that went away" ]
    track_report $way.csv median 247 253 0.2 100
  done
  start_server 48000 256  # and ends properly
}

@test "a device: every sample of it, until it is unplugged" {
  sound glide.wav 44100 1 glide 200 400
  sound_card glide.wav
  run --separate-stderr katessel live --list
  [[ $output == *"--device 1  default (ALSA, 44100 Hz, default)"* ]]
  run --separate-stderr timeout 30 "$KATESSEL_TOOL" live --csv live.csv
  echo "$output $stderr"
  [ "$status" -eq 1 ]
  [ "$stderr" = "katessel: listening ended early: default: expected a source that stays, found one that went away" ]
  [[ $output == "listening to default at 44100 Hz"*" 0 xruns, 0 samples dropped"* ]]
  median=$(figure "$output" 'latency: ([0-9.]+) ms median')
  awk -v m="$median" -v most=$([ -z "${KATESSEL_SLOWED:-}" ] && echo 200 || echo 2000) 'BEGIN { exit !(m > 30 && m < most) }'
  # As of the file, but for what its end hides.
  katessel track --quiet --mode live glide.wav -o file.csv
  [ "$(wc -l < live.csv)" -gt 185 ]
  cmp live.csv <(head -n "$(wc -l < live.csv)" file.csv)
}

@test "a device by its number or name, in the player's own notes" {
  sound tone.wav 44100 1 tone 220
  sound_card tone.wav
  for device in 1 default defa; do
    run --separate-stderr katessel live --device $device --duration 0.7 --a4 466 --transpose 2
    [ "$status" -eq 0 ]
    [ -z "$stderr" ]
    [[ $output == *"A#3 "*" cents"* ]]
  done
  fails_with 1 "cannot listen: --device: expected one of 1 to 1, default" live --device 2
  fails_with 2 "--device" live --device 1 --port player:out
  fails_with 2 "--a4" live --a4 300
  fails_with 2 "--transpose" live --transpose 40
}

@test "what cannot be listened to is refused in one line" {
  if [ ! -e /dev/snd ]; then
    for options in "" "--csv -" --list; do
      fails_with 1 "running" live $options
      [[ $stderr == "katessel: cannot listen: "*", found none" ]]
    done
  fi
  start_server 48000 256
  fails_with 1 "cannot listen: --port: expected one of system:capture_1, system:capture_2, found nobody:out" live --port nobody:out
  fails_with 1 "cannot listen: --port: expected one of " live --port system:playback_1
  fails_with 1 "cannot write: nowhere/x.csv: expected an existing folder" live --csv nowhere/x.csv
  fails_with 1 "bad model: none.weights" live --model none.weights
  fails_with 2 "--duration" live --duration 0
}
