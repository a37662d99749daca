#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# What the objects of a library let out by their own visibility is the list of
# exported names, so that a linker without version scripts exports the same. Only
# templates of the C++ library come with it.
# usage: visible_names.sh LIST OBJECT...
set -euo pipefail
export LC_ALL=C
list=$1
shift

visible=$(readelf -sW "$@" | awk '$5 ~ /GLOBAL|WEAK/ && $6 == "DEFAULT" && $7 != "UND" { print $8 }' |
  grep -vE '^_ZZ?N?K?(St|[0-9]+__gnu)' | sort -u)
difference=$(diff <(echo "$visible") <(sort "$list")) || {
  printf 'visible names differ from the list (<: extra, >: missing):\n%s\n' "$difference"
  exit 1
}
echo "$(wc -l <<<"$visible") names are visible, as listed"
