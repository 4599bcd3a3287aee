#!/usr/bin/env bash
# Runs the commands that a document states for Kubernetes and for GNU parallel, on this machine alone: the command of
# each pod of the job, with its index, and GNU parallel without SSH. What they write must equal what one batch writes.
#
#   recipes.sh MIEN LANDMARKS.csv DOCUMENT.md FOLDER
#
# FOLDER is emptied first.
set -euo pipefail

mien=$(realpath "$1") landmarks=$(realpath "$2") document=$(realpath "$3") folder=$4
rm -rf "$folder"
mkdir -p "$folder"/{bin,one,pods,parallel}
cd "$folder"
ln -s "$mien" bin/mien
export PATH=$PWD/bin:$PATH

takes=7
echo "take,output,performer,smooth" >manifest
for ((i = 1; i <= takes; ++i)); do
  head -n $((10 + 7 * i)) "$landmarks" >"$i.csv"
  echo "../$i.csv,out/$i.csv,landmarks68,$((5 + i))" >>manifest
done
for way in one pods parallel; do cp manifest "$way/takes.csv"; done
(cd one && mien batch takes.csv --quiet)

# block FENCE WORD: the block of the document with this fence that contains the word.
block() {
  awk -v fence="\`\`\`$1" -v word="$2" '
    $0 == "```" { if (index(text, word)) printf "%s", text; text = ""; inside = 0 }
    inside { text = text $0 "\n" }
    $0 == fence { inside = 1; text = "" }' "$document"
}

block yaml "kind: Job" >job.yaml
/usr/bin/python3 - <<'END' >pod
import shlex
import yaml

job = yaml.safe_load(open("job.yaml"))["spec"]
assert job["completionMode"] == "Indexed" and job["parallelism"] <= job["completions"]
print(job["completions"], shlex.join(job["template"]["spec"]["containers"][0]["command"]))
END
read -r pods command <pod
for ((i = 0; i < pods; ++i)); do
  JOB_COMPLETION_INDEX=$i bash -c "${command//\/data/$PWD/pods}"
done

block text "parallel -j 1" >parallel.sh
[[ -s parallel.sh ]]
echo ":" >parallel/machines.txt # this one, without SSH
(cd parallel && bash -euo pipefail ../parallel.sh 2>../parallel.log)

(cd one/out && sha256sum -- *) >hashes
for way in pods parallel; do
  (cd "$way/out" && sha256sum --check --quiet) <hashes
  diff <(ls one/out) <(ls "$way/out")
  (cd "$way" && mien batch takes.csv --summary)
done
[[ $(wc -l <hashes) -eq $((2 * takes)) ]]
echo "$takes outputs and reports of $pods pods and of GNU parallel equal those of one batch"
