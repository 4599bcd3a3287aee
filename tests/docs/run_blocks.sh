#!/usr/bin/env bash
# Runs what a Markdown file tells its readers to run.
#
#   run_blocks.sh FILE SOURCE_FOLDER SCRATCH_FOLDER
#
# Blocks fenced as ```sh are run by bash, those fenced as ```cpp that have a main are compiled and run, all in the order
# of the file and in one scratch folder that shows the source tree's entries but keeps what the blocks write. A cpp block
# is saved as program.cpp, or under the name that follows on its fence (```cpp open_mouth.cpp). What must not be run is
# fenced otherwise: ```console, ```text. The environment says which mien the blocks see: PATH, CMAKE_PREFIX_PATH,
# PKG_CONFIG_PATH, LD_LIBRARY_PATH, CXX.
set -euo pipefail

file=$1 source=$2 scratch=$3
rm -rf "$scratch"
mkdir -p "$scratch/blocks" "$scratch/tree"
for entry in "$source"/*; do
  [[ $entry == */build ]] || ln -s "$entry" "$scratch/tree/"
done
export MIEN_TEST_RUNNING=1 # a block that says scripts/test is satisfied by the run that it is part of

# One file per block: NNNN.sh or NNNN.cpp, NNNN its line in the document; NNNN.name holds what a cpp block is saved as.
awk -v blocks="$scratch/blocks" '
  out != "" && /^[ ]*```[ ]*$/ { close(out); out = ""; next }
  out != "" { print substr($0, indent + 1) > out; next }
  other && /^[ ]*```[ ]*$/ { other = 0; next }
  other { next }
  /^[ ]*```/ {
    indent = index($0, "`") - 1
    fence = substr($0, indent + 4)
    split(fence, word, " ")
    if (word[1] != "sh" && word[1] != "cpp") { other = 1; next }
    at = sprintf("%s/%04d", blocks, NR)
    out = at "." word[1]
    printf "" > out
    if (word[1] == "cpp") { print (word[2] != "" ? word[2] : "program.cpp") > (at ".name"); close(at ".name") }
  }
  END { if (out != "" || other) { print FILENAME ": a fence is never closed" > "/dev/stderr"; exit 1 } }
' "$file"

# A block ends at the first command that fails in any place of a pipe, unless it was only cut short, as by `head`.
# shellcheck disable=SC2016
strict='set -Euo pipefail
trap '\''for s in "${PIPESTATUS[@]}"; do [[ $s == 0 || $s == 141 ]] || exit "$s"; done'\'' ERR
set -x
source "$1"
exit 0'

commands=0 programs=0 fragments=0
cd "$scratch/tree"
shopt -s nullglob
for block in "$scratch"/blocks/*.sh "$scratch"/blocks/*.cpp; do echo "$block"; done | sort >"$scratch/order"
while read -r block; do
  line=$(basename "${block%.*}")
  echo "--- $file:$((10#$line))"
  if [[ $block == *.sh ]]; then
    commands=$((commands + 1))
    bash -c "$strict" bash "$block" </dev/null
  else
    name=$(<"${block%.cpp}.name")
    cp "$block" "$name"
    if grep -q 'int main(' "$name"; then
      programs=$((programs + 1))
      # shellcheck disable=SC2046
      "${CXX:-g++}" -std=c++20 -Wall -Wextra "$name" $(pkg-config --cflags --libs mien) -o "${name%.cpp}"
      "./${name%.cpp}" </dev/null
    else
      fragments=$((fragments + 1))
    fi
  fi
done <"$scratch/order"

echo "$file: $commands command blocks and $programs programs ran; $fragments fragments were left alone"
[[ $((commands + programs)) -gt 0 || $(basename "$file") != README.md ]]
