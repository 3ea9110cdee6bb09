# The tool around its commands: version, help, the choice of vector instructions, and the measurement.
load common

setup() { enter_folder; }

@test "version names the library's version and the instruction set in use" {
  run --separate-stderr katessel --version
  [ "$status" -eq 0 ]
  [[ $output == "KaTesselLib version "*", "* ]]
  KATESSEL_ISA=scalar run --separate-stderr katessel --version
  [[ $output == *", scalar" ]]
}

@test "help is the same by either name" {
  for command in "" track "model verify" live; do
    katessel help $command > help.txt || [ "$command" = live ]
    katessel $command --help | cmp - help.txt
  done
  grep -q "^Usage: katessel live" help.txt || ! grep -q " live " <(katessel help)
}

@test "an instruction set that cannot be had is wrong usage" {
  sound good.wav 24000 0.1 tone 200
  for name in avx9000 SSE2 scalar,sse2; do
    export KATESSEL_ISA=$name
    fails_with 2 "wrong instruction set: KATESSEL_ISA: expected one of scalar" track good.wav
    fails_with 2 "found $name" --version
  done
}

@test "every instruction set gives the same track" {
  sound good.wav 24000 0.3 tone 200
  KATESSEL_ISA=scalar katessel track good.wav > scalar.csv
  for name in sse2 avx2 avx512; do
    export KATESSEL_ISA=$name
    # Not every machine has them all; those that it has not must be refused as above.
    if ! katessel --version > version.txt 2> /dev/null; then continue; fi
    grep -q ", $name$" version.txt
    katessel track good.wav > "$name.csv"
    # Results agree to rounding, which the network may make larger where the sound changes.
    paste -d, scalar.csv "$name.csv" | awk -F, 'NR > 1 && ($1 != $4 || ($2 - $5)^2 > 0.1^2 || ($3 - $6)^2 > 0.01^2) { bad = 1 }
      END { exit bad }'
  done
}

@test "bench prints figures for the whole call and every stage" {
  # How the times compare is for the machine to say; here only that each was measured, in the order of a frame.
  all_measured() {
    awk '/^  / && $(NF - 1) + 0 > 0 && $NF + 0 >= $(NF - 1) + 0 { printf "%s ", $1 }' <<< "$output"
  }
  for rate in 24000 44100 11025; do
    run --separate-stderr katessel bench --seconds 0.5 --rate $rate
    echo "$output $stderr"
    [ "$status" -eq 0 ]
    [ -z "$stderr" ]
    [[ $output == *"stream           $rate Hz"* ]]
    [[ $output =~ [1-9][0-9]*\ x\ real\ time ]]
    [ "$(all_measured)" = "whole spectrum bands network heads " ]
  done
}
