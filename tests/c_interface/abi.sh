#!/usr/bin/env bash
# The binary interface of libmien_host, of the header's types and functions alone.
#
#   abi.sh compare SOURCE_FOLDER SCRATCH_FOLDER COMPILER    compares it with tests/c_interface/mien_host.abi
#   abi.sh record SOURCE_FOLDER SCRATCH_FOLDER COMPILER     writes that file anew
#   abi.sh break SOURCE_FOLDER SCRATCH_FOLDER COMPILER      shows that a comparison sees what breaks programs
#
# It is that of the header: each function is defined without a body, compiled with debug information and given the
# library's symbol version. agreement.cmake checks that the library has these functions and no others.
set -euo pipefail
what=$1 source=$2 scratch=$3 compiler=$4
recorded=$source/tests/c_interface/mien_host.abi
rm -rf "$scratch"
mkdir -p "$scratch"

# describe FOLDER OUT: the interface of the header in a folder.
describe() {
  {
    echo '#include "mien_host.h"'
    grep -v '^ *#' "$1/mien_host.h" | "$compiler" -x c -fpreprocessed -E -P - | tr '\n' ' ' |
      grep -oE 'MIEN_HOST_API [^;]*;' |
      sed -E 's/MIEN_HOST_API //; s/;$//' | awk '
        {
          declaration = $0
          name = declaration
          sub(/\(.*/, "", name)
          sub(/.*[ *]/, "", name)
          result = substr(declaration, 1, index(declaration, name "(") - 1)
          print declaration " { return (" result ")0; }"
        }'
  } >"$scratch/interface.c"
  "$compiler" -x c -std=c11 -g -O0 -w -fPIC -shared -I"$1" "$scratch/interface.c" -o "$scratch/libmien_host.so.1" \
    -Wl,-soname,libmien_host.so.1 -Wl,--version-script="$source/host/c_interface/mien_host.map"
  abidw --no-corpus-path --no-comp-dir-path --no-show-locs --headers-dir "$1" --drop-private-types \
    --out-file "$2" "$scratch/libmien_host.so.1"
  sed -i "s#path='$scratch/#path='#" "$2" # of this run alone
}

# compatible OLD NEW: whether the new interface is the old one, or the old one with more functions.
compatible() {
  abidiff --no-added-syms "$1" "$2" >"$scratch/differences" 2>&1
}

case $what in
record)
  describe "$source/host/c_interface" "$recorded"
  echo "recorded $(grep -c '<function-decl ' "$recorded") functions"
  ;;
compare)
  describe "$source/host/c_interface" "$scratch/now.abi"
  compatible "$recorded" "$scratch/now.abi" || {
    cat "$scratch/differences"
    echo "the binary interface changed; if programs built before still work, record it: CONTRIBUTING.md says how"
    exit 1
  }
  echo "$(grep -c '<function-decl ' "$recorded") functions as recorded"
  ;;
break)
  mkdir "$scratch/changed"
  sed 's/^  mien_type type;/  int64_t inserted;\n  mien_type type;/' "$source/host/c_interface/mien_host.h" >"$scratch/changed/mien_host.h"
  describe "$scratch/changed" "$scratch/now.abi"
  compatible "$recorded" "$scratch/now.abi" && exit 1
  echo "a changed struct is refused"
  sed '/mien_take_event_count/d' "$source/host/c_interface/mien_host.h" >"$scratch/changed/mien_host.h"
  describe "$scratch/changed" "$scratch/now.abi"
  compatible "$recorded" "$scratch/now.abi" && exit 1
  echo "a missing function is refused"
  ;;
esac
