#!/usr/bin/env bash
# After the array: sbatch --dependency=afterany:ARRAY merge.sh CORPUS TRACKS REPORT
# Writes REPORT/rows.csv, a line for each track, and REPORT/figures.csv where the corpus has .f0 files with the known pitch.
#SBATCH --job-name=katessel-merge
set -euo pipefail
[ $# -eq 3 ] || { echo "usage: merge.sh CORPUS TRACKS REPORT" >&2; exit 2; }
corpus=$1 tracks=$2 report=$3
mkdir -p "$report"

# Whatever the tasks left, normally nothing; that this succeeds means that every recording has a track.
complete=0
katessel track --recursive "$corpus" --output "$tracks" --skip-existing --quiet || complete=$?

rows() {
    echo "track,rows,voiced,seconds"
    (cd "$tracks" && find . -name '*.f0.csv' | LC_ALL=C sort | while IFS= read -r track; do
        awk -F, -v OFS=, -v track="${track#./}" 'NR > 1 { rows++; if ($2 > 0) voiced++ }
            END { print track, rows + 0, voiced + 0, sprintf("%.3f", rows * 0.005) }' "$track"
    done)
}
rows > "$report/rows.csv.part" && mv "$report/rows.csv.part" "$report/rows.csv"
awk -F, 'NR > 1 { tracks++; rows += $2; voiced += $3 }
    END { printf "%d tracks, %d rows, %d voiced, %.2f hours\n", tracks, rows, voiced, rows * 0.005 / 3600 }' "$report/rows.csv"

if [ -n "$(find "$corpus" -name '*.f0' -print -quit)" ]; then
    katessel eval --ref "$corpus" --tracks "$tracks" --csv "$report/figures.csv"
fi
exit "$complete"
