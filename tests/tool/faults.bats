# When the system fails: the result is whole or not there, the one before stays, and the status says which.
load common

: "${KATESSEL_FAILING_CALLS:?path of the library that makes calls fail}"

setup() {
  enter_folder
  sound tone.wav 24000 0.5 tone 200
  katessel track tone.wav > expected.csv
}

# attempt FAULT: tracks with that fault, over an older result, and leaves the status in `status`.
attempt() {
  echo old > out.csv
  status=0
  KATESSEL_FAULT=$1 LD_PRELOAD=$KATESSEL_FAILING_CALLS "$KATESSEL_TOOL" track tone.wav -o out.csv --force 2> err.txt || status=$?
  echo "$1: status $status, $(cat err.txt)"
}

# whole_or_old: what there must be after any ending.
whole_or_old() {
  [ "$(ls -A | grep -c part)" = 0 ]
  if [ "$status" -eq 0 ]; then
    cmp out.csv expected.csv
    [ ! -s err.txt ]
  else
    [ "$status" -eq 1 ]
    [ "$(wc -l < err.txt)" = 1 ]
    [ "$(cat out.csv)" = old ]
  fi
}

@test "a disk that is full or broken, calls that are interrupted or do a part" {
  for fault in write:1:28 rename:1:28 fsync:1:5 read:1:5 read:2:5 read:3:5; do
    attempt $fault
    whole_or_old
    [ "$status" -eq 1 ]
  done
  for fault in write:1:4 write:1:short read:1:4 read:1:short; do
    attempt $fault
    whole_or_old
    [ "$status" -eq 0 ]
  done
  # The name is there but may be gone with the power: the result is whole, the status no success.
  attempt fsync:2:5
  [ "$status" -eq 1 ]
  cmp out.csv expected.csv
}

@test "memory that runs out anywhere" {
  failures=0
  for n in 1 2 3 5 8 13 21 34 55 89 144 233 377; do
    attempt malloc:$n:12
    whole_or_old
    failures=$((failures + status))
  done
  [ "$failures" -ge 6 ]
}

@test "killed at any moment" {
  sound tone.wav 24000 20 tone 200
  katessel track tone.wav > expected.csv
  for n in {1..12}; do
    echo old > out.csv
    "$KATESSEL_TOOL" track tone.wav -o out.csv --force 3>&- &
    sleep "0.0$((n * 7 % 10))$n"
    kill -KILL $! 2> /dev/null || true
    wait $! 2> /dev/null || true
    cmp -s out.csv expected.csv || [ "$(cat out.csv)" = old ]
  done
  # What is left of it is in nobody's way.
  katessel track tone.wav -o out.csv --force
  cmp out.csv expected.csv
}
