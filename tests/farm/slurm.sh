#!/usr/bin/env bash
# Submits scripts/farm.sbatch to Slurm, requeues a task that runs, and compares everything that was written with what
# one local batch writes.
#
#   slurm.sh MIEN LANDMARKS.csv FOLDER
#
# Slurm runs on this machine alone, with a key, sockets, ports and state of its own in FOLDER, which is emptied first.
# Slurm holds a requeued task back for two minutes, so this takes a little longer.
set -euo pipefail

mien=$(realpath "$1") landmarks=$(realpath "$2") folder=$3
script=$(realpath "$(dirname "${BASH_SOURCE[0]}")/../../scripts/farm.sbatch")
rm -rf "$folder"
mkdir -p "$folder"/{state,spool,farm,local}
folder=$(realpath "$folder")
export SLURM_CONF=$folder/slurm.conf PATH=$PATH:/usr/sbin

daemons=()
finish() {
  local status=$?
  trap - EXIT
  [[ ! -s $folder/job ]] || scancel "$(<"$folder/job")" 2>/dev/null || true
  for ((i = ${#daemons[@]} - 1; i >= 0; --i)); do
    kill "${daemons[i]}" 2>/dev/null || true
    wait "${daemons[i]}" 2>/dev/null || true
  done
  if [[ $status -ne 0 ]]; then
    echo "failed; the last lines of the logs in $folder:"
    tail -n 20 "$folder"/*.log || true
  fi
  exit "$status"
}
trap finish EXIT
trap 'exit 130' INT TERM

# until_true SECONDS WHAT COMMAND...: waits for a command to succeed.
until_true() {
  local end=$((SECONDS + $1)) what=$2
  shift 2
  until "$@" >/dev/null 2>&1; do
    [[ $SECONDS -lt $end ]] || { echo "no $what in time"; return 1; }
    sleep 0.1
  done
}

# Two unused ports.
ports=()
while [[ ${#ports[@]} -lt 2 ]]; do
  port=$((20000 + RANDOM % 20000))
  (: <"/dev/tcp/127.0.0.1/$port") 2>/dev/null || ports+=("$port")
done

# Longer paths of sockets are impossible.
[[ ${#folder} -lt 90 ]] || { echo "$folder is too long a path for a socket"; exit 1; }
dd if=/dev/urandom of="$folder/munge.key" bs=1024 count=1 status=none
chmod 600 "$folder/munge.key"
munged --foreground --force --socket="$folder/munge" --key-file="$folder/munge.key" --seed-file="$folder/munge.seed" \
  --pid-file="$folder/munge.pid" --log-file="$folder/munge.log" >"$folder/munged.log" 2>&1 &
daemons+=($!)
until_true 30 "munged" munge -S "$folder/munge" -n

cpus=$(nproc)
[[ $cpus -lt 4 ]] || cpus=4
cat >"$SLURM_CONF" <<END
ClusterName=mien
SlurmctldHost=$(hostname -s)(127.0.0.1)
SlurmUser=$(id -un)
SlurmdUser=$(id -un)
AuthType=auth/munge
AuthInfo=socket=$folder/munge
CommunicationParameters=NoCtldInAddrAny,NoInAddrAny
SlurmctldPort=${ports[0]}
SlurmdPort=${ports[1]}
StateSaveLocation=$folder/state
SlurmdSpoolDir=$folder/spool
SlurmctldPidFile=$folder/slurmctld.pid
SlurmdPidFile=$folder/slurmd.pid
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
MpiDefault=none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
KillWait=5
ReturnToService=2
NodeName=node NodeHostname=$(hostname -s) NodeAddr=127.0.0.1 CPUs=$cpus State=UNKNOWN
PartitionName=farm Nodes=node Default=YES MaxTime=INFINITE State=UP
END
slurmctld -D >"$folder/slurmctld.log" 2>&1 &
daemons+=($!)
until_true 30 "slurmctld" scontrol ping
slurmd -D -N node >"$folder/slurmd.log" 2>&1 &
daemons+=($!)
is_idle() { [[ $(sinfo -h -o %T) == idle ]]; }
until_true 60 "idle node" is_idle

# One take of 6,000 frames, solved with different settings, and a bad one.
awk -F, -v OFS=, 'NR == 1 { print; next } { rows[NR - 1] = $0; n = NR - 1 }
  END { for (i = 0; i < 6000; ++i) { $0 = rows[i % n + 1]; $1 = i + 1; $2 = sprintf("%.6f", i / 30); print } }' \
  "$landmarks" >"$folder/take.csv"
echo "nothing" >"$folder/bad.csv"
lines=24
for ((i = 1; i <= lines; ++i)); do
  echo "{\"take\": \"../take.csv\", \"output\": \"out/$i.glb\", \"smooth\": $((5 + i % 8)), \"fade\": 0.$i}"
done >"$folder/farm/takes.jsonl"
echo '{"take": "../bad.csv", "output": "out/bad.glb"}' >>"$folder/farm/takes.jsonl"
cp "$folder/farm/takes.jsonl" "$folder/local/"
settings=(--set performer=landmarks68 --set character=arkit52 --set solver=fit)

cd "$folder"
MIEN=$mien sbatch --parsable --array=1-3 --cpus-per-task=1 --output="$folder/task_%a.log" "$script" \
  farm/takes.jsonl "${settings[@]}" >job
job=$(<job)
# A task that runs and has done something, but not all: it is killed in the middle.
has_begun() { grep -q '^done ' "$folder/task_1.log"; }
until_true 120 "line of the first task" has_begun
scontrol requeue "${job}_1"
requeued=$SECONDS
reports=$(find farm/out -name '*.report.json' | wc -l)
echo "requeued a task when $reports of $lines lines were done"

# Meanwhile, the same without Slurm.
local_status=0
"$mien" batch local/takes.jsonl "${settings[@]}" --quiet 2>local.log || local_status=$?

is_through() { [[ -z $(squeue -h -j "$job" 2>/dev/null) ]]; }
until_true 300 "end of the array" is_through
echo "the array is complete $((SECONDS - requeued)) s later"
grep -H '^batch ' task_*.log

# The first task was started twice, and went on where it was killed.
grep -q '^skipped ' task_1.log || { echo "the requeued task has skipped nothing"; exit 1; }
((reports < lines)) || { echo "everything was done before the task was requeued"; exit 1; }

farm_status=0
"$mien" batch farm/takes.jsonl "${settings[@]}" --summary >summary 2>&1 || farm_status=$?
cat summary
[[ $local_status -eq 1 && $farm_status -eq 1 ]] || { echo "exit codes $local_status and $farm_status"; exit 1; }
grep -q "^batch      $lines done, 1 failed" summary
(cd local/out && sha256sum -- *) >hashes
(cd farm/out && sha256sum --check --quiet) <hashes
diff <(ls local/out) <(ls farm/out)
echo "$(wc -l <hashes) files of the farm equal those of one local batch"
