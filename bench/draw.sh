#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Draws what a benchmark measured as a chart with the day, the processor's name
# and the number of its cores.
# usage: draw.sh operations|exchanges MEASURED.json CHART.svg
set -euo pipefail
kind=$1 measured=$2 chart=$3
here=$(dirname "$0")
table=$(mktemp)
trap 'rm -f "$table"' EXIT

jq -r -f "$here/$kind.jq" "$measured" >"$table"
grep -qE '[0-9]\.[0-9]' "$table" || {
  echo "no chart: it takes all contenders" >&2
  exit
}
caption=$(jq -r '.context | "\(.date[:10]), \(.processor), \(.num_cpus) cores"' "$measured")
gnuplot -c "$here/$kind.gnuplot" "$table" "$chart" "$caption"
