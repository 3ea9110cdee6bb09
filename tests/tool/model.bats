# `katessel model`: weight files listed, verified and hashed.
load common

setup() { enter_folder; }

# faults_of FILE: what verify says is wrong, without the name; fails when it finds nothing.
faults_of() {
  run --separate-stderr "$KATESSEL_TOOL" model verify "$1"
  echo "status $status, out: $output, err: $stderr"
  [ "$status" -eq 1 ]
  [ "${#stderr_lines[@]}" -eq 1 ]
  [[ $stderr == "katessel: bad model: $1: expected a file without faults, found ${#lines[@]} fault"* ]]
}

# has_fault BYTE EXPECTED FOUND, all patterns: one of the lines of the last faults_of.
has_fault() {
  local line
  for line in "${lines[@]}"; do [[ $line == *": byte "$1": expected "$2", found "$3 ]] && return 0; done
  return 1
}

# poke FILE BYTE OCTETS: overwrites bytes, written as for printf.
poke() { printf "$3" | dd of="$1" bs=1 seek="$2" conv=notrunc status=none; }

# fresh BYTE OCTETS: bad.weights becomes a copy of the default model with these bytes changed.
fresh() {
  cp "$MODEL" bad.weights
  chmod u+w bad.weights
  poke bad.weights "$1" "$2"
}

@test "inspect lists what was written" {
  "$PYTHON" "$HERE/timing_model.py" timing.weights
  katessel model inspect timing.weights > list.txt
  grep -q '^timing.weights: .* bytes, 13 layers, 1[0-9]* values$' list.txt
  # One value of 1 in 8400 zeros; a bias without weights; 69 gates of 20.
  grep -qE '^ENCODER_l2_skip +weights \[1,70,120\] +8400 +0 +1 +0.01091 +[0-9]+  yes$' list.txt
  grep -qE '^ENCODER_skip_biases +bias +\[120\] +120 +0 +0.1 ' list.txt
  grep -qE '^ +bias +\[70\] +70 +20 +20 +20 ' list.txt
  grep -q '^The engine can use it.$' list.txt
  break_model "$MODEL" gained.weights gain ENCODER_l1_res_tanh 70
  katessel model inspect gained.weights | grep -qE '^ +gain +\[1,1,70\] +70 +1 +1 +1 '
  break_model "$MODEL" lacking.weights drop enc_out2
  katessel model inspect lacking.weights | grep -q '^expected layer enc_out2, found none of that name$'
}

@test "places are those in the file" {
  # The first name is 27 bytes long; its first tensor is 1 x 150 x 70.
  katessel model inspect "$MODEL" | grep -qE '^ENCODER_initial_causal_conv +weights +\[1,150,70\].* 36  yes$'
  fresh 52 '\x00\x00\xc0\x7f'
  faults_of bad.weights
  has_fault 52 "layer ENCODER_initial_causal_conv with finite values" "nan in tensor 0, value 0"
  fresh 42051 '\x7f'
  poke bad.weights 42050 '\x80'
  poke bad.weights 60 '\x00\x00\x80\xff'
  faults_of bad.weights
  has_fault 60 "layer ENCODER_initial_causal_conv with finite values" "-inf in tensor 0, value 2 and 1 more"
}

@test "a good file is good, and says so" {
  run --separate-stderr "$KATESSEL_TOOL" model verify "$MODEL"
  [ "$status" -eq 0 ]
  [ "$output" = "$MODEL: good, 13 layers, $(stat -c %s "$MODEL") bytes" ]
  # Without a name: the default model.
  katessel model verify | grep -q 'good, 13 layers'
}

@test "a broken format is named with its byte" {
  size=$(stat -c %s "$MODEL")
  fresh 0 '\x0e'
  faults_of bad.weights
  has_fault $size "a layer weight file" "one that ends within the name length of layer 13"
  fresh 0 '\x11\x27'
  faults_of bad.weights
  has_fault 0 "a layer weight file" "one that claims 10001 layers, more than 10000"
  fresh 4 '\x00'
  faults_of bad.weights
  has_fault 4 "a layer weight file" "one that claims an empty name for layer 0"
  fresh 32 '\xff\xff\xff\xff'
  faults_of bad.weights
  has_fault 32 "a layer weight file" "one that claims -1 tensors in layer \"ENCODER_initial_causal_conv\", with $((size - 36)) bytes left"
  for rank in '\x00' '\x0b'; do
    fresh 36 $rank
    faults_of bad.weights
    has_fault 36 "a layer weight file" 'one that claims rank * in layer "ENCODER_initial_causal_conv", tensor 0, not 1 to 10'
  done
  fresh 44 '\x00'
  faults_of bad.weights
  has_fault 44 "a layer weight file" "one that claims dimension 0 in *"
  # Dimensions whose product does not fit in 64 bits.
  fresh 40 '\xff\xff\xff\x7f\xff\xff\xff\x7f\xff\xff\xff\x7f'
  faults_of bad.weights
  has_fault 40 "a layer weight file" "one that claims [[]2147483647[]] values in *"
  for length in 0 3 20 34 41 300 $((size - 1)); do
    head -c $length "$MODEL" > cut.weights
    faults_of cut.weights
    [[ $output == *"one that ends within "* || $output == *" bytes left" ]]
    fails_with 1 "bad model: cut.weights: expected a layer weight file, found one that " bench --model cut.weights
  done
}

@test "everything that is wrong is listed" {
  break_model "$MODEL" a.weights drop ENCODER_l1_skip
  break_model a.weights b.weights shape enc_out1 0 120,121
  break_model b.weights c.weights value enc_out2 1 inf
  printf 'more!' >> c.weights
  faults_of c.weights
  [ ${#lines[@]} -eq 4 ]
  has_fault '*' "layer enc_out1 with weights [[]120,120[]]" "[[]120,121[]]"
  has_fault '*' "layer enc_out2 with finite values" "inf in tensor 1, value 1"
  has_fault '*' "layer ENCODER_l1_skip" "none of that name"
  has_fault $(($(stat -c %s c.weights) - 5)) "the end of the file after the last layer" "5 more bytes"
}

@test "what the engine does not mind is a fault all the same" {
  # Twice the same name: enc_out1 becomes enc_out2.
  fresh 500009 2
  faults_of bad.weights
  has_fault '*' "layer enc_out2 once" "it again"
  # A name that ends early.
  fresh 12 '\x00'
  faults_of bad.weights
  has_fault 4 "a name without zero bytes" 'one after "ENCODER"'
  # A layer that the engine does not ask for is no fault, unless its values are none.
  break_model "$MODEL" more.weights spare spare 1
  break_model "$MODEL" worse.weights spare spare nan
  katessel model verify more.weights | grep -q 'good, 14 layers'
  katessel model inspect more.weights | grep -qE '^spare +bias +\[2\] .* no$'
  faults_of worse.weights
  has_fault '*' "layer spare with finite values" "nan in tensor 0, value 1"
}

@test "hash: as sha256sum, and the card must agree" {
  cp "$MODEL" mine.weights
  run --separate-stderr katessel model hash mine.weights
  [ "${lines[0]}" = "$(sha256sum mine.weights)" ]
  [ "${lines[1]}" = "# no card beside it" ]
  katessel model hash mine.weights | sha256sum -c --strict
  echo "{\"sha256\": \"$(sha256sum mine.weights | cut -d' ' -f1)\"}" > mine.json
  [ "$(katessel model hash mine.weights | tail -n 1)" = "# as mine.json says" ]
  printf x >> mine.weights
  run --separate-stderr "$KATESSEL_TOOL" model hash mine.weights
  [ "$status" -eq 1 ]
  [ "$output" = "$(sha256sum mine.weights)" ]
  [[ $stderr == "katessel: another model than its card says: mine.weights: expected sha256 "*", found "* ]]
  echo '{"sha256": 5}' > mine.json
  run --separate-stderr "$KATESSEL_TOOL" model hash mine.weights
  [ "$status" -eq 1 ]
  [[ $stderr == "katessel: bad model card: mine.json: expected sha256 to be a text, found 5" ]]
  # The default model is the one that its card describes.
  katessel model hash "$MODEL" | grep -q '^# as .*default.json says$'
}
