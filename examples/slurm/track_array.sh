#!/usr/bin/env bash
# Tracks a corpus on many machines: sbatch --array=1-PARTS track_array.sh CORPUS TRACKS PARTS
# Task K takes the K-th of PARTS shards. What has a track already is left out, so that a task that was killed, or the whole
# array, can simply be submitted again; `--array=3,5` with the same PARTS repeats two of them.
#SBATCH --job-name=katessel-track
#SBATCH --requeue
set -euo pipefail
[ $# -eq 3 ] || { echo "usage: sbatch --array=1-PARTS track_array.sh CORPUS TRACKS PARTS" >&2; exit 2; }
corpus=$1 tracks=$2 parts=$3
part=${SLURM_ARRAY_TASK_ID:?expected a task of an array}
exec katessel track --recursive "$corpus" --output "$tracks" --shard "$part/$parts" --skip-existing \
    --jobs "${SLURM_CPUS_PER_TASK:-1}" --quiet
