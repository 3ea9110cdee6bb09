# Shared by the tests of the tool. Run through CTest, which names the tool and the source tree.
bats_require_minimum_version 1.5.0

: "${KATESSEL_TOOL:?path of the tool}" "${KATESSEL_SOURCE:?source tree}" "${PYTHON:?python3}"
MODEL=$KATESSEL_SOURCE/models/default.weights
HERE=$KATESSEL_SOURCE/tests/tool

sound() { "$PYTHON" "$HERE/sound.py" "$@"; }
break_model() { "$PYTHON" "$HERE/break_model.py" "$@"; }
track_report() { "$PYTHON" "$HERE/track_report.py" "$@"; }
# A folder of the test's own with copies of the files named; bats keeps notes of its own in its temporary folders.
enter_folder() {
  mkdir "$BATS_TEST_TMPDIR/work"
  if [ $# -gt 0 ]; then cp "$@" "$BATS_TEST_TMPDIR/work"; fi
  cd "$BATS_TEST_TMPDIR/work"
}
katessel() { "$KATESSEL_TOOL" "$@"; }

# fails_with STATUS TEXT ARGUMENT...: the tool ends with that status and one line on standard error that holds
# TEXT, prints nothing else, and leaves the folder that the test stands in as it was.
fails_with() {
  local status_expected=$1 text=$2
  shift 2
  local before
  before=$(ls -lA --time-style=full-iso)
  run --separate-stderr "$KATESSEL_TOOL" "$@"
  echo "status $status, out: $output, err: $stderr"
  [ "$status" -eq "$status_expected" ]
  [ -z "$output" ]
  [ "${#stderr_lines[@]}" -eq 1 ]
  [[ $stderr == "katessel: "*"$text"* ]]
  [ "$(ls -lA --time-style=full-iso)" = "$before" ]
}
