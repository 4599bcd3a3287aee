#!/usr/bin/env bash
# Kills a batch with SIGKILL at random moments, lets it finish, and compares everything that it wrote with what an
# uninterrupted batch wrote.
#
#   kills.sh MIEN LANDMARKS.csv FOLDER TAKES KILLS [SEED]
#
# FOLDER is emptied first. One take in twenty is bad. Prints the seed, with which the kills come at about the same moments.
set -euo pipefail

mien=$1 landmarks=$2 folder=$3 takes=$4 kills=$5 seed=${6:-$RANDOM}
rm -rf "$folder"
mkdir -p "$folder"/{takes,whole,killed}
cd "$folder"
RANDOM=$seed
echo "seed $seed: $kills kills of a batch of $takes takes"

# Short takes of different lengths and different frames.
frames=$(($(wc -l <"$landmarks") - 1))
manifest='{"take": "../takes/%s.csv", "output": "out/%s.glb", "performer": "landmarks68", "character": "arkit52"}\n'
for ((i = 1; i <= takes; ++i)); do
  length=$((20 + i * 7 % 60)) first=$((2 + i * 13 % (frames - 80)))
  if ((i % 20 == 0)); then
    echo "frame,timestamp" >"takes/$i.csv"
  else
    { head -n 1 "$landmarks"; sed -n "$first,$((first + length))p" "$landmarks"; } >"takes/$i.csv"
  fi
  # shellcheck disable=SC2059
  printf "$manifest" "$i" "$i" >>whole/takes.jsonl
done
cp whole/takes.jsonl killed/
bad=$((takes / 20))

# run FOLDER: a whole batch, of which only the bad takes fail.
run() {
  local status=0
  "$mien" batch "$1/takes.jsonl" --quiet 2>"$1/messages" || status=$?
  [[ $status -eq $((bad > 0 ? 1 : 0)) ]] || { cat "$1/messages"; echo "exit code $status"; return 1; }
}

start=${EPOCHREALTIME/./}
run whole
took=$((${EPOCHREALTIME/./} - start)) # microseconds
echo "uninterrupted: $((took / 1000)) ms"

# Each kill comes when a random number of takes more are done, and after a random part of the time that one takes.
# Together they leave some of the batch undone, however fast it runs.
reports() { find killed -name '*.report.json' | wc -l; }
share=$((takes * 4 / 5 / kills))
hits=0
for ((k = 0; k < kills; ++k)); do
  enough=$(($(reports) + RANDOM % (share + 1)))
  "$mien" batch killed/takes.jsonl --quiet 2>/dev/null &
  batch=$!
  while [[ $(reports) -lt $enough ]] && kill -0 $batch 2>/dev/null; do :; done
  sleep "$(awk -v r=$((RANDOM * 32768 + RANDOM)) -v us=$((took / takes)) \
    'BEGIN { printf "%.6f", r / 1073741824 * us / 1e6 }')"
  kill -9 $batch 2>/dev/null || true
  status=0
  wait $batch || status=$?
  [[ $status -ne 137 ]] || hits=$((hits + 1))
done 2>/dev/null # what the shell says of a killed job
echo "$hits of $kills kills hit a running batch; left behind:" \
  "$(reports) reports, $(find killed -name '*.part' | wc -l) part files"
((hits * 2 > kills)) || { echo "most kills came too late to show anything"; exit 1; }
run killed

diff -r whole/out killed/out
files=$(find killed/out -type f | wc -l)
[[ $files -eq $((2 * takes - bad)) ]] || { echo "there are $files files"; exit 1; }
again=$("$mien" batch killed/takes.jsonl --json 2>/dev/null | grep -c '"skipped"' || true)
skipped=$((again - 1)) # the last line has the sum
[[ $skipped -eq $((takes - bad)) ]] || { echo "$skipped lines are skipped"; exit 1; }
echo "$files files equal those of the uninterrupted batch; nothing else is left; the next batch skips $skipped lines"
