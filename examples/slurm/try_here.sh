#!/usr/bin/env bash
# try_here.sh [KATESSEL]: the array of this folder on a cluster of two nodes that are both this machine, in a temporary
# folder: submits it, kills a task, submits it again, merges, and checks that the tracks are those of one machine.
# Needs Debian's slurm-wlm and munge, and nothing that runs already; any user may.
set -euo pipefail
here=$(readlink -f "$(dirname "$0")")
tool=$(readlink -m "${1:-$(command -v katessel || echo katessel)}")
audio=$here/../audio
for needed in "$tool" munged slurmctld slurmd sbatch; do
    PATH=$PATH:/usr/sbin command -v "$needed" >/dev/null ||
        { echo "missing: $needed: expected KATESSEL as an argument and the packages slurm-wlm and munge" >&2; exit 1; }
done
folder=$(mktemp -d /tmp/katessel-slurm.XXXXXX)
chmod 755 "$folder"
started=()
failed() { echo "failed: $*" >&2; tail -n 5 "$folder"/*.log "$folder"/*.txt >&2; exit 1; }
stop() {
    [ ${#started[@]} -eq 0 ] || kill "${started[@]}" 2>/dev/null || true
    wait
    rm -rf "$folder"
}
trap stop EXIT

# PATH as the jobs see it, with the tool under its name.
mkdir "$folder/bin"
printf '#!/bin/sh\nexec "%s" "$@"\n' "$tool" >"$folder/bin/katessel"
chmod 755 "$folder/bin/katessel"
export PATH=$folder/bin:$PATH:/usr/sbin
export SLURM_CONF=$folder/slurm.conf

start_cluster() {
    local user host node
    user=$(id -un) host=$(hostname -s)
    mkdir "$folder"/{munge,state}
    dd if=/dev/urandom of="$folder/munge/key" bs=128 count=1 status=none
    chmod 600 "$folder/munge/key"
    munged --foreground --force --socket="$folder/munge/socket" --key-file="$folder/munge/key" \
        --pid-file="$folder/munge/pid" --seed-file="$folder/munge/seed" --log-file="$folder/munge.log" 2>>"$folder/munged.log" &
    started+=($!)
    cat >"$SLURM_CONF" <<CONF
ClusterName=here
SlurmctldHost=$host(127.0.0.1)
SlurmctldPort=16817
SlurmUser=$user
SlurmdUser=$user
AuthType=auth/munge
AuthInfo=socket=$folder/munge/socket
StateSaveLocation=$folder/state
SlurmdSpoolDir=$folder/spool.%n
SlurmctldPidFile=$folder/slurmctld.pid
SlurmdPidFile=$folder/slurmd.%n.pid
MailProg=/bin/true
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
SlurmdParameters=config_overrides
ReturnToService=2
KillWait=5
NodeName=node[1-2] NodeHostname=$host NodeAddr=127.0.0.1 Port=[16818-16819] CPUs=1 State=UNKNOWN
PartitionName=all Nodes=node[1-2] Default=YES MaxTime=10 State=UP
CONF
    until [ -S "$folder/munge/socket" ]; do sleep 0.1; done
    slurmctld -D -i >"$folder/slurmctld.log" 2>&1 &
    started+=($!)
    for node in node1 node2; do
        mkdir "$folder/spool.$node"
        slurmd -D -N "$node" >"$folder/$node.log" 2>&1 &
        started+=($!)
    done
    wait_until 30 nodes_idle
}
nodes_idle() { [ "$(sinfo -h -N -o '%T' 2>/dev/null | sort | uniq -c | xargs)" = "2 idle" ]; }
wait_until() {
    local left=$(($1 * 20))
    until "$2" "${@:3}"; do
        left=$((left - 1))
        [ "$left" -gt 0 ] || failed "waited $1 s in vain: $2"
        sleep 0.05
    done
}
ended() { [ -z "$(squeue -h -j "$1" 2>/dev/null)" ]; }

make_corpus() {
    local copy
    mkdir -p "$folder/corpus/a" "$folder/corpus/b"
    for copy in $(seq 200); do
        cp "$audio/speech_nathalie.ogg" "$folder/corpus/a/speech_$copy.ogg"
        cp "$audio/singing_martin.ogg" "$folder/corpus/b/singing_$copy.ogg"
    done
    cp "$audio/speech_nathalie.f0" "$folder/corpus/a/speech_1.f0"
    cp "$audio/singing_martin.f0" "$folder/corpus/b/singing_1.f0"
}
count() { find "$folder/tracks" -name '*.f0.csv' 2>/dev/null | wc -l; }

echo "== a cluster of two nodes in $folder"
start_cluster
sinfo -N
make_corpus
cd "$folder"

echo "== the array, of which task 2 is killed after its first track"
array=$(sbatch --parsable --array=1-4 -o "$folder/task_%a.txt" "$here/track_array.sh" corpus tracks 4)
wait_until 60 test -e tracks/a/speech_10.f0.csv # the second of all recordings by name
scancel "${array}_2"
wait_until 120 ended "$array"
echo "$(count) of 400 tracks"
[ "$(count)" -lt 400 ] || failed "the killed task left nothing to do"
[ -z "$(find tracks -type f ! -name '*.f0.csv')" ] || failed "something half-written is left"

echo "== the same again, then the merge"
find tracks -type f -printf '%p %T@\n' | sort >before
array=$(sbatch --parsable --array=1-4 -o "$folder/task_%a.txt" "$here/track_array.sh" corpus tracks 4)
merge=$(sbatch --parsable --dependency="afterany:$array" -o "$folder/merge.txt" "$here/merge.sh" corpus tracks report)
wait_until 120 ended "$array"
echo "$(count) of 400 tracks"
[ "$(count)" -eq 400 ] || failed "tracks are missing"
[ -z "$(cat task_*.txt)" ] || failed "a task complains"
find tracks -type f -printf '%p %T@\n' | sort >after
[ -z "$(comm -23 before after)" ] || failed "tracks were made twice"
wait_until 120 ended "$merge"
cat merge.txt
[ "$(wc -l <report/rows.csv)" -eq 401 ] || failed "rows.csv has not 400 tracks"

echo "== compared with one machine"
katessel track --recursive corpus --output alone --quiet
diff -r alone tracks || failed "the tracks differ"
echo "the same"
