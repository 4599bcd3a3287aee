#!/usr/bin/env bash
# What the installed tree has for people beside the library: manual pages, completion, documents, samples.
#
#   share.sh PREFIX MANUAL_FOLDER SHARE_FOLDER DOCUMENTS_FOLDER
set -euo pipefail
prefix=$1 manual=$1/$2 share=$1/$3 documents=$1/$4
mien=$prefix/bin/mien
export LC_ALL=C.UTF-8

fail() {
  echo "$*"
  exit 1
}

# Every command that the help lists has a page that roff takes without a warning and that names the command.
commands() {
  echo "mien${1:+ $1}"
  # shellcheck disable=SC2086
  "$mien" help $1 | awk '/^[^ ]/ { listed = /^Commands:/ } listed && /^  [^ ]/ { print $1 }' | while read -r name; do
    commands "${1:+$1 }$name"
  done
}
pages=0
while read -r command; do
  page=$manual/man1/${command// /-}.1
  [[ -s $page ]] || fail "there is no page for $command"
  warnings=$(groff -man -ww -Tutf8 -rLL=78n -z "$page" 2>&1)
  [[ -z $warnings ]] || fail "$page: $warnings"
  text=$(groff -man -Tascii -P-cbou "$page")
  grep -q "^ *$command" <<<"$text" || fail "$page does not show how $command is called"
  grep -q -- "--version" <<<"$text" || fail "$page lacks an option"
  pages=$((pages + 1))
done < <(commands "")
[[ $pages == $(find "$manual/man1" -name 'mien*' | wc -l) && $pages -gt 5 ]] || fail "$pages pages for commands"

# As a shell loads it.
completion=$share/bash-completion/completions/mien
# shellcheck disable=SC1090
offered=$(source "$completion" && COMP_WORDS=(mien sol) COMP_CWORD=1 && _mien && echo "${COMPREPLY[*]}")
[[ $offered == solve ]] || fail "completion offers \"$offered\""

# The documents' links lead to files of theirs, except those into the sources.
[[ -s $documents/README.md && -s $documents/CHANGELOG.md && -s $documents/docs/getting-started.md ]] || fail "documents are missing"
links=0
while IFS=: read -r document link; do
  [[ -e $(dirname "$document")/$link ]] || fail "$document: there is no $link"
  links=$((links + 1))
done < <(grep -roE '\]\([^)#:]+' "$documents" --include='*.md' | sed 's/\](//')
[[ $links -gt 10 ]] || fail "only $links links"

# The samples go together.
samples=$share/mien/samples
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
"$mien" solve "$samples/markers.csv" -p "$samples/markers.performer.json" -c "$samples/puppet.character.json" -q \
  -o "$scratch/puppet.json"
"$mien" solve "$samples/landmarks.csv" -p landmarks68 -c arkit52 --onto "$samples/head.glb" -q -o "$scratch/head.glb"
[[ -s $samples/known_weights.csv && -s $samples/README.md ]] || fail "samples are missing"
[[ ! -e $samples/make_samples.cpp ]] || fail "a source is among the samples"

echo "$pages pages, $links links"
