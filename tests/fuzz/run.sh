#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs fuzzers: each over the committed corpus, then with inputs of its own
# making for some seconds. What it makes stays below build/fuzz: new inputs in
# corpus/, what went wrong in findings/ENTRY/, output in logs/. ./run fuzz looks at
# the words and builds before.
#
# usage: run.sh [SECONDS [ENTRY...]]
set -euo pipefail
cd "$(dirname "$0")/../.."

readonly build=build/fuzz
seconds=${1:-30}
shift $(($# > 0 ? 1 : 0))
entries=("$@")
if [[ ${#entries[@]} -eq 0 ]]; then
  for source in tests/fuzz/*_fuzzer.cpp; do
    entries+=("$(basename "$source" _fuzzer.cpp)")
  done
fi

export ASAN_OPTIONS=quarantine_size_mb=64
export UBSAN_OPTIONS=print_stacktrace=1

# The longest input worth trying.
longest() {
  case $1 in
    date) echo 64 ;;
    format | list) echo 256 ;;
    transcode) echo 512 ;;
    answer | url) echo 8192 ;;
    *) echo 2048 ;;
  esac
}

# The last number that a log gives for a libFuzzer field, as in "ft: 123".
field() { # LOG NAME
  grep -oE "$2: *[0-9]+" "$1" | tail -n 1 | grep -oE '[0-9]+$' || echo 0
}

run_fuzzer() { # ENTRY LOG ARGUMENT...
  local entry=$1 log=$2
  shift 2
  local options=(-max_len="$(longest "$entry")" -timeout=20 -rss_limit_mb=1024
    -malloc_limit_mb=256 -report_slow_units=1000000 -print_final_stats=1
    -artifact_prefix="$build/findings/$entry/")
  if [[ -f tests/fuzz/$entry.dict ]]; then
    options+=(-dict="tests/fuzz/$entry.dict")
  fi
  "$build/tests/fuzz/${entry}_fuzzer" "${options[@]}" "$@" >"$log" 2>&1
}

# Writes the entry's line of the table; fails on a finding.
fuzz_entry() { # ENTRY
  local entry=$1 logs=$build/logs status=0
  local seeds=tests/fuzz/corpus/$entry made=$build/corpus/$entry found=$build/findings/$entry
  rm -rf "$found"
  mkdir -p "$made" "$found" "$logs"
  run_fuzzer "$entry" "$logs/$entry.seeds" -runs=0 "$seeds" || status=$?
  if [[ $status -eq 0 ]]; then
    run_fuzzer "$entry" "$logs/$entry" -max_total_time="$seconds" "$made" "$seeds" || status=$?
  else
    cp "$logs/$entry.seeds" "$logs/$entry"
  fi
  local known reached findings
  known=$(field "$logs/$entry.seeds" ft)
  reached=$(field "$logs/$entry" ft)
  findings=$(find "$found" -type f | wc -l)
  if [[ $status -ne 0 && $findings -eq 0 ]]; then
    findings=1
  fi
  printf '| %s | %d | %d | %d | %d | %d |\n' "$entry" \
    "$(field "$logs/$entry" stat::number_of_executed_units)" \
    "$(field "$logs/$entry" stat::average_exec_per_sec)" \
    "$known" "$((reached > known ? reached - known : 0))" "$findings" >"$logs/$entry.row"
  [[ $findings -eq 0 ]]
}

# As many at a time as there are processors.
status=0
running=0
for entry in "${entries[@]}"; do
  if [[ $running -ge $(nproc) ]]; then
    wait -n || status=1
    running=$((running - 1))
  fi
  fuzz_entry "$entry" &
  running=$((running + 1))
done
while [[ $running -gt 0 ]]; do
  wait -n || status=1
  running=$((running - 1))
done

echo "| entry | execs | execs/s | features of the corpus | new features | findings |"
echo "|---|---:|---:|---:|---:|---:|"
for entry in "${entries[@]}"; do
  cat "$build/logs/$entry.row"
done
if [[ $status -ne 0 ]]; then
  echo "fuzz: see $build/findings/ENTRY/ and $build/logs/ENTRY" >&2
fi
exit "$status"
