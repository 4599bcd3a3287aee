#!/usr/bin/env bash
# Runs the commands and programs of a Markdown file.
#
#   run_blocks.sh FILE SOURCE_FOLDER SCRATCH_FOLDER
#
# Blocks fenced as ```sh are run by bash; those fenced as ```cpp that have a main are compiled and run; those
# fenced as ```python are run by the virtual environment `venv` that an earlier block made. They run in the
# order of the file, in one scratch folder that links to the source tree's entries and receives all output. A
# cpp or python block is saved as program.cpp or program.py, or under the name that follows on its fence
# (```cpp open_mouth.cpp). A block fenced as ```c with a name is only saved; a later block compiles it. The lines of a
# block fenced as ```output must be among those that the block before it printed. Blocks that must not be run have
# another fence: ```console, ```text. The environment
# determines which mien the blocks use: PATH, CMAKE_PREFIX_PATH, PKG_CONFIG_PATH, LD_LIBRARY_PATH, CXX,
# MIEN_CMAKE_BUILD.
#
# In a table with a column "what to type", every `mien ...` is a command as well.
set -euo pipefail

file=$1 source=$2 scratch=$3
rm -rf "$scratch"
mkdir -p "$scratch/blocks" "$scratch/tree"
for entry in "$source"/*; do
  [[ $entry == */build ]] || ln -s "$entry" "$scratch/tree/"
done
export MIEN_TEST_RUNNING=1 # scripts/test does nothing in a block, which may be part of a run of it

# One file per block: NNNN.sh, NNNN.c, NNNN.cpp, NNNN.python or NNNN.output, with NNNN its line in the document.
# NNNN.name has the file name of a program.
awk -v blocks="$scratch/blocks" '
  out != "" && /^[ ]*```[ ]*$/ { close(out); out = ""; next }
  out != "" { print substr($0, indent + 1) > out; next }
  other && /^[ ]*```[ ]*$/ { other = 0; next }
  other { next }
  /^\|.*\| *what to type *\|/ { typed = 1; next }
  !/^\|/ { typed = 0 }
  typed {
    cells = split($0, cell, "`")
    for (i = 2; i <= cells; i += 2)
      if (cell[i] ~ /^mien /) {
        at = sprintf("%s/%04d.sh", blocks, NR)
        print cell[i] > at
        close(at)
      }
  }
  /^[ ]*```/ {
    indent = index($0, "`") - 1
    fence = substr($0, indent + 4)
    split(fence, word, " ")
    program = word[1] == "cpp" ? "program.cpp" : word[1] == "python" ? "program.py" : word[1] == "c" ? word[2] : ""
    if (word[1] != "sh" && word[1] != "output" && program == "") { other = 1; next }
    at = sprintf("%s/%04d", blocks, NR)
    out = at "." word[1]
    printf "" > out
    if (program != "") {
      print (word[2] != "" ? word[2] : program) > (at ".name")
      close(at ".name")
    }
  }
  END { if (out != "" || other) { print FILENAME ": a fence is never closed" > "/dev/stderr"; exit 1 } }
' "$file"

# A block fails with the first command that fails, also inside a pipe, unless it was only cut short, as by
# `head`. shellcheck disable=SC2016
strict='set -Euo pipefail
trap '\''for s in "${PIPESTATUS[@]}"; do [[ $s == 0 || $s == 141 ]] || exit "$s"; done'\'' ERR
set -x
source "$1"
exit 0'

commands=0 programs=0 fragments=0
cd "$scratch/tree"
shopt -s nullglob
for block in "$scratch"/blocks/*.{sh,c,cpp,python,output}; do echo "$block"; done | sort >"$scratch/order"
while read -r block; do
  line=$(basename "${block%.*}")
  echo "--- $file:$((10#$line))"
  if [[ $block == *.sh ]]; then
    commands=$((commands + 1))
    bash -c "$strict" bash "$block" </dev/null | tee "$scratch/printed"
  elif [[ $block == *.output ]]; then
    while IFS= read -r expected; do
      grep -Fxq -e "$expected" "$scratch/printed" || {
        echo "$file:$((10#$line)): the block before did not print: $expected"
        exit 1
      }
    done <"$block"
  elif [[ $block == *.c ]]; then
    cp "$block" "$(<"${block%.c}.name")"
  elif [[ $block == *.python ]]; then
    name=$(<"${block%.python}.name")
    cp "$block" "$name"
    programs=$((programs + 1))
    venv/bin/python "$name" </dev/null | tee "$scratch/printed"
  else
    name=$(<"${block%.cpp}.name")
    cp "$block" "$name"
    if grep -q 'int main(' "$name"; then
      programs=$((programs + 1))
      # shellcheck disable=SC2046
      "${CXX:-g++}" -std=c++20 -Wall -Wextra "$name" $(pkg-config --cflags --libs mien) -o "${name%.cpp}"
      "./${name%.cpp}" </dev/null | tee "$scratch/printed"
    else
      fragments=$((fragments + 1))
    fi
  fi
done <"$scratch/order"

echo "$file: $commands command blocks and $programs programs ran; $fragments fragments were not run"
[[ $((commands + programs)) -gt 0 || ! $(basename "$file") =~ ^(README|from-your-tracker)\.md$ ]]
