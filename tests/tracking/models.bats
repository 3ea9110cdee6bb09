# Models and model cards that the tool refuses, by name, before an engine sees them.
load ../tool/common

setup_file() {
  cd "$BATS_FILE_TMPDIR"
  sound good.wav 24000 0.1 tone 200
}

setup() { enter_folder "$BATS_FILE_TMPDIR/good.wav"; }

# refuses TEXT CHANGE..: a model changed like that is refused by both commands.
refuses() {
  local text=$1
  shift
  break_model "$MODEL" broken.weights "$@"
  fails_with 1 "bad model: broken.weights: expected layer $text" track good.wav --model broken.weights -o out.csv
  fails_with 1 "bad model: broken.weights: expected layer $text" bench --model broken.weights
}

# takes CHANGE..: a model changed like that is good.
takes() {
  break_model "$MODEL" changed.weights "$@"
  run --separate-stderr "$KATESSEL_TOOL" track good.wav --model changed.weights
  echo "status $status, err: $stderr"
  [ "$status" -eq 0 ]
  [ -z "$stderr" ]
  [ "${lines[0]}" = time,frequency,confidence ]
}

@test "no weight file" {
  fails_with 1 "bad model: none.weights: expected a layer weight file, found one that cannot be opened" \
    track good.wav --model none.weights
  mkdir folder
  fails_with 1 "bad model: folder: " track good.wav --model folder
  fails_with 1 "bad model: good.wav: " track good.wav --model good.wav
  head -c 300000 "$MODEL" > cut.weights
  fails_with 1 "bad model: cut.weights: expected a layer weight file, found one that " track good.wav --model cut.weights
}

@test "a layer is missing" {
  for layer in ENCODER_initial_causal_conv ENCODER_l0_res_tanh ENCODER_l1_res_sigmoid ENCODER_l2_skip \
    ENCODER_skip_biases enc_out1 enc_out2; do
    refuses "$layer, found none of that name" drop $layer
  done
}

@test "a layer has the wrong shape" {
  refuses "ENCODER_initial_causal_conv with weights [150,70], found [70,150]" shape ENCODER_initial_causal_conv 0 70,150
  refuses "ENCODER_initial_causal_conv with bias [70], found no tensor" drop-tensor ENCODER_initial_causal_conv 1
  refuses "ENCODER_l1_res_tanh with weights [3,70,70], found [3,70,71]" shape ENCODER_l1_res_tanh 0 3,70,71
  refuses "ENCODER_l2_res_sigmoid with weights [3,70,70], found [14700]" shape ENCODER_l2_res_sigmoid 0 14700
  refuses "ENCODER_l0_res_sigmoid with bias [70], found [69]" shape ENCODER_l0_res_sigmoid 1 69
  refuses "ENCODER_l0_skip with weights [70,120], found [1,120,70]" shape ENCODER_l0_skip 0 1,120,70
  refuses "ENCODER_skip_biases with bias [120], found [1,120]" shape ENCODER_skip_biases 0 1,120
  refuses "enc_out2 with weights [120,2], found [120,3]" shape enc_out2 0 120,3
  refuses "enc_out1 with nothing after tensor 1, found [1,1,119]" gain enc_out1 119
}

@test "a value is not finite" {
  refuses "ENCODER_l1_skip with finite values, found nan in tensor 0" value ENCODER_l1_skip 0 nan
  refuses "enc_out1 with finite values, found -inf in tensor 1" value enc_out1 1 -inf
}

@test "shapes that the engine takes are taken" {
  takes drop-tensor ENCODER_l0_res_tanh 1
  takes gain ENCODER_l1_res_tanh 70
  takes shape ENCODER_l2_skip 0 70,120
}

@test "the card's threshold is used, and --threshold goes before it" {
  cp "$MODEL" mine.weights
  echo '{"default_threshold": 1000}' > mine.json
  katessel track good.wav --model mine.weights -o out.csv
  track_report out.csv voiced 0 0
  katessel track good.wav --model mine.weights --threshold 0 -o out.csv --force
  track_report out.csv voiced 0.9 1
}

@test "a malformed card is refused by name" {
  cp "$MODEL" mine.weights
  for content in '{"default_threshold": 0.5' '[0.5]' '{"default_threshold": "high"}' '{"default_threshold": -1}' ''; do
    printf '%s' "$content" > mine.json
    fails_with 1 "bad model card: mine.json: expected " track good.wav --model mine.weights -o out.csv
  done
}

@test "the default model is what KATESSEL_MODEL names, else the installed one" {
  mkdir -p prefix/bin prefix/lib prefix/share/katessel
  cp "$(ldd "$KATESSEL_TOOL" | awk '$1 ~ /^libKaTesselLib/ { print $3 }')" prefix/lib
  cp "$KATESSEL_TOOL" prefix/bin
  KATESSEL_TOOL=$PWD/prefix/bin/katessel
  export LD_LIBRARY_PATH=$PWD/prefix/lib
  fails_with 1 "bad model: share/katessel/default.weights: expected it in a folder above $LD_LIBRARY_PATH/" track good.wav
  KATESSEL_MODEL=$MODEL katessel track good.wav > named.csv
  cp "$MODEL" prefix/share/katessel
  katessel track good.wav | cmp - named.csv
  # A model of its own for a form goes before, and for no other form.
  "$PYTHON" "$HERE/timing_model.py" prefix/share/katessel/live.weights
  katessel track good.wav | cmp - named.csv
  katessel track good.wav --mode live | cmp - <(katessel track good.wav --mode live --model prefix/share/katessel/live.weights)
  KATESSEL_MODEL=$MODEL katessel track good.wav --mode live > live.csv
  mv prefix/share/katessel/live.weights prefix/share/katessel/offline.weights
  katessel track good.wav --mode live | cmp - live.csv
  katessel track good.wav | cmp - <(katessel track good.wav --model prefix/share/katessel/offline.weights)
  [[ $(katessel --version) == *", live model "* ]]
  rm prefix/share/katessel/offline.weights
  KATESSEL_MODEL=none.weights fails_with 1 "none.weights" track good.wav
  echo broken > prefix/share/katessel/default.weights
  fails_with 1 "/prefix/share/katessel/default.weights: " track good.wav
}
