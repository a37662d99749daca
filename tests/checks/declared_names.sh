#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The public headers declare exactly the listed names.
# usage: declared_names.sh HEADER-FOLDER LIST
set -euo pipefail
export LC_ALL=C

# A declaration starts with QN_API; its name stands before the first '(' or '['
# or ';' behind it.
declared=$(cat "$1"/*.h | sed -n 's/^\(extern \)\?QN_API \([^([;]*\).*/\2/p' |
  grep -oE '[A-Za-z_0-9]+ *$' | tr -d ' ' | sort -u)
difference=$(diff <(echo "$declared") "$2") || {
  printf 'declared names differ from the list (<: extra, >: missing):\n%s\n' "$difference"
  exit 1
}
echo "$(wc -l <"$2") names, all declared and no other"
