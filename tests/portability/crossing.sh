#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Has each machine write its files into a folder of its own below FOLDER, compares
# them byte for byte, and has each machine read those of every other. PROGRAM is
# what starts that machine's program `crossing`.
# usage: crossing.sh FOLDER MACHINE=PROGRAM...
set -euo pipefail
folder=$1
shift
rm -rf "$folder"
mkdir -p "$folder"
folder=$(realpath "$folder")

sums_of() { # MACHINE
  (cd "$folder/$1" && find . -type f -printf '%P\n' | LC_ALL=C sort | xargs sha256sum)
}

# Reading may write, and a machine's own files stay what they are.
reads() { # PROGRAM FOLDER
  local status=0
  rm -rf "$folder/read"
  cp -r "$2" "$folder/read"
  "$1" read "$folder/read" || status=$?
  rm -rf "$folder/read"
  return "$status"
}

first=${1%%=*}
for machine in "$@"; do
  mkdir "$folder/${machine%%=*}"
  "${machine#*=}" write "$folder/${machine%%=*}"
done
for machine in "$@"; do
  diff <(sums_of "$first") <(sums_of "${machine%%=*}") || {
    echo "crossing: ${machine%%=*} (>) writes other files than $first (<)"
    exit 1
  }
done

# A reader that takes anything would show nothing: each file counts.
while read -r _ file; do
  cp -r "$folder/$first" "$folder/changed"
  printf x >>"$folder/changed/$file"
  printf x | dd of="$folder/changed/$file" conv=notrunc status=none
  if reads "${1#*=}" "$folder/changed" 2>/dev/null; then
    echo "crossing: $first reads a changed $file as if it were the right one"
    exit 1
  fi
  rm -rf "$folder/changed"
done < <(sums_of "$first")

count=0
for reader in "$@"; do
  for writer in "$@"; do
    reads "${reader#*=}" "$folder/${writer%%=*}" || {
      echo "crossing: ${reader%%=*} does not read what ${writer%%=*} has written"
      exit 1
    }
    count=$((count + 1))
  done
done

sums_of "$first" | awk '{ printf "| %s | %s |\n", $2, $1 }'
echo "written alike by $# machines and read in $count ways: ${*%%=*}"
