#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The shared library exports exactly the listed names, all under its version
# node.
# usage: exported_names.sh LIBRARY LIST NODE
set -euo pipefail
export LC_ALL=C

# The node itself shows as an absolute symbol.
difference=$(nm -D --defined-only "$1" | awk '$2 != "A" { print $3 }' | sort -u |
  diff - <(sed "s/$/@@$3/" "$2" | sort)) || {
  printf 'exported names differ from the list (<: extra, >: missing):\n%s\n' "$difference"
  exit 1
}
echo "$(wc -l <"$2") names, all exported under $3 and no other"
