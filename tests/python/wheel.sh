#!/usr/bin/env bash
# Builds a wheel without a network, installs it into a virtual environment, and solves a take there.
#
#   wheel.sh SOURCE_FOLDER SCRATCH_FOLDER
set -euo pipefail
source=$1 scratch=$2
unset PYTHONPATH MIEN_HOST_LIBRARY
rm -rf "$scratch"
mkdir -p "$scratch"
before=$(git -C "$source" status --porcelain --ignored -- python)
pip=(-m pip --disable-pip-version-check --no-input)
/usr/bin/python3 "${pip[@]}" wheel --no-index --no-deps --no-build-isolation -w "$scratch" "$source/python"
[[ $(git -C "$source" status --porcelain --ignored -- python) == "$before" ]] # the source tree stays as it is

wheel=("$scratch"/mien-*-py3-none-linux_*.whl)
/usr/bin/python3 -m zipfile -l "${wheel[0]}" | tee "$scratch/content"
for file in mien/libmien_host.so mien/py.typed mien/take.py; do grep -q "^$file " "$scratch/content"; done
[[ $(grep -c '\.so' "$scratch/content") == 1 ]]

/usr/bin/python3 -m venv --system-site-packages "$scratch/venv" # for NumPy
"$scratch/venv/bin/python" "${pip[@]}" install --no-index "${wheel[0]}"
cd "$scratch" # not where a folder mien could be found
venv/bin/python - "$source/samples/landmarks.csv" <<'PROGRAM'
import sys
import mien
assert mien.__file__.startswith(sys.prefix), mien.__file__
animation = mien.solve(sys.argv[1], "landmarks68", "arkit52")
print("the installed wheel solves", len(animation), "frames with mien", mien.__version__)
PROGRAM
