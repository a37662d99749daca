#!/usr/bin/env bash
# The shared library exports exactly the listed names.
# usage: exported_names.sh LIBRARY LIST
set -euo pipefail
export LC_ALL=C

difference=$(nm -D --defined-only "$1" | awk '{ print $3 }' | sort -u | diff - "$2") || {
  printf 'exported names differ from the list (<: extra, >: missing):\n%s\n' "$difference"
  exit 1
}
echo "$(wc -l <"$2") names, all exported and no other"
