#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Unbounded string calls and raw heap calls stand in the primitives that wrap
# them and nowhere else in the library.
# usage: forbidden_calls.sh SOURCE-FOLDER
set -euo pipefail

calls='(^|[^A-Za-z0-9_>.])(std::)?(sprintf|strcpy|strcat|strtok|gets|malloc|calloc|realloc|free|strdup|sscanf|printf)\('
# Stream cells come from the system heap and go back to it.
found=$(grep -rnE "$calls" "$1" --include='*.cpp' --include='*.h' |
  grep -vE '/qnshare/Mac_porting/src/|/qn_fs_file(_port)?\.cpp:.*(std::free\((handle|cell)\)|std::malloc\(sizeof\(FILE \*\)\))' |
  grep -vE ':[0-9]+: *//' || true)
if [[ -n $found ]]; then
  printf 'calls that belong into the primitives:\n%s\n' "$found"
  exit 1
fi
echo "$(find "$1" -name '*.cpp' | wc -l) sources, no call outside the primitives"
