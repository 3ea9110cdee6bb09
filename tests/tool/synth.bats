# `katessel synth`: tones, judged by tracking them and by looking at their samples.
load common

setup() { enter_folder; }

sound_report() { "$PYTHON" "$HERE/sound_report.py" "$@"; }

# rows SECONDS EXPRESSION: a track whose frequency and confidence are awk expressions in t.
rows() {
  awk -v n="$1" "BEGIN { print \"time,frequency,confidence\"
    for (i = 0; i < n * 200; ++i) { t = i * 0.005; printf \"%.3f,%.4f,%.3f\n\", t, $2, $3 } }"
}

@test "what is heard is the track" {
  rows 2 '150 * 2 ^ (1 - (1 - t) * (1 - 2 * (t > 1)))' 1 > glide.csv
  for rate in 24000 44100; do
    katessel synth glide.csv -o glide.wav --rate $rate
    sound_report glide.wav format $rate 1 2.015
    katessel track glide.wav > heard.csv
    track_report heard.csv lag 150 300 2 5
    awk -F, 'NR > 1 { print $1, $2 }' glide.csv > truth.f0
    katessel eval --ref truth.f0 heard.csv --csv figures.csv > /dev/null
    awk -F, 'NR == 1 { for (i = 1; i <= NF; ++i) if ($i == "raw_pitch_accuracy_50") c = i } END { exit !($c > 0.9) }' figures.csv
  done
  katessel synth glide.csv -o sine.wav --waveform sine
  sound_report sine.wav glide 150 300 0.3
  # A .f0 file is a track as well, its unvoiced part silent.
  awk 'BEGIN { for (i = 0; i < 200; ++i) printf "%.3f %d\n", i * 0.005, i < 100 ? 200 : i < 150 ? 0 : -1 }' > half.f0
  katessel synth half.f0 -o half.wav
  sound_report half.wav format 48000 1 1.015
  sound_report half.wav level 0 0.05 0.45 0.14 0.16
  sound_report half.wav quiet 0.53 1
}

@test "phase has no breaks, edges are faded" {
  # Glides, jumps of more than an octave, unvoiced stretches, and a hole of 0.06 s without rows.
  rows 2 't % 0.3 < 0.1 ? 203 : t % 0.3 < 0.2 ? 433 + 70 * t : 0' 1 | awk -F, '$1 < 1.22 || $1 > 1.28 || NR == 1' > steps.csv
  katessel synth steps.csv -o steps.wav --waveform sine
  sound_report steps.wav smooth 600
  sound_report steps.wav quiet 0.23 0.29
  sound_report steps.wav quiet 1.247 1.262
  sound_report steps.wav level 0 0.05 0.15 0.145 0.155
}

@test "the level follows the recording, or the confidence" {
  rows 1 200 't < 0.5 ? 0.9 : 0.3' > sure.csv
  katessel synth sure.csv -o sure.wav --waveform sine
  sound_report sure.wav level 0 0.1 0.4 0.133 0.137
  sound_report sure.wav level 0 0.6 0.9 0.044 0.046
  sound both.wav 24000 1 tone 200 1 0.5
  for waveform in sine harmonics; do
    katessel synth both.wav -o tone.wav --waveform $waveform
    sound_report tone.wav format 24000 1 1
    for part in "0.1 0.4 0.168 0.176" "0.6 0.9 0.084 0.088"; do
      sound_report both.wav level 0 $part
      sound_report tone.wav level 0 $part
    done
  done
}

@test "a recording can be heard as well" {
  sound tone.wav 44100 0.5 tone 200
  rows 0.5 270 1 > other.csv
  katessel synth tone.wav -o stereo.wav --stereo
  sound_report stereo.wav format 44100 2 0.5
  sound_report stereo.wav same 0 tone.wav
  katessel synth other.csv -o right.wav --stereo --mix tone.wav
  sound_report right.wav same 0 tone.wav
  katessel synth other.csv -o mixed.wav --mix tone.wav
  sound_report mixed.wav format 44100 1 0.5
  # The sum of the two: apart, each has about 0.172.
  sound_report mixed.wav level 0 0.1 0.4 0.235 0.25
  # Nothing is clipped.
  awk 'BEGIN { for (i = 0; i < 100; ++i) printf "%.3f 200\n", i * 0.005 }' > tone.f0
  sound loud.wav 24000 0.5 tone 200 3
  katessel synth tone.f0 -o loud_tone.wav --mix loud.wav
  sound_report loud_tone.wav full
}
