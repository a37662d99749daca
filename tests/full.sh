#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Everything that is proved about the library, with its figures as tables: what
# ./run test samples is looked at whole here. Expects the release and sanitize
# presets to be built; ./run full sees to that.
#
# usage: full.sh SECONDS   how long each fuzzer goes on
set -euo pipefail
cd "$(dirname "$0")/.."

readonly seconds=$1 logs=build/full
mkdir -p "$logs"

heading() {
  printf '\n## %s\n\n' "$1"
}

# What of a program's output is its report.
readonly report='^\||^### |^\[  (PASSED|SKIPPED) |^[0-9]+ kills|: [0-9]+ points'

# Runs a program and shows its report; all of its output is kept.
report_of() { # NAME COMMAND...
  local log=$logs/$1.log
  shift
  if ! "$@" >"$log" 2>&1; then
    tail -n 40 "$log"
    echo "full: $1 failed; all it said is in $log" >&2
    return 1
  fi
  grep -aE "$report" "$log"
}

heading "Every fallible call failed in turn, under ASan and UBSan"
QNSTACK_FAULTS=full report_of faults build/sanitize/tests/fault/fault_tests --gtest_brief=1
heading "The same on the file port of POSIX alone, under ASan and UBSan"
QNSTACK_FAULTS=full report_of faults_plain build/sanitize/tests/fault/fault_tests_plain \
  --gtest_brief=1

heading "Processes ended at every step of a save"
QNSTACK_KILLS=300 report_of kills build/release/tests/posix/posix_port_tests --gtest_brief=1 \
  '--gtest_filter=*Kill*:*Crash*:*Fault*'

heading "A power cut behind every call"
QNSTACK_POWER=full report_of power build/release/tests/posix/posix_port_tests --gtest_brief=1 \
  '--gtest_filter=*PowerLoss*'

heading "The same on the file port of POSIX alone"
QNSTACK_POWER=full QNSTACK_KILLS=300 report_of power_plain \
  build/release/tests/posix/posix_port_tests_plain --gtest_brief=1 \
  '--gtest_filter=*PowerLoss*:*Kill*:*Crash*:*Fault*'

heading "Hostile peers"
QNSTACK_HOSTILE=full report_of hostile build/release/tests/hostile/hostile_tests --gtest_brief=1
heading "Hostile peers, under ASan and UBSan"
report_of hostile_sanitized build/sanitize/tests/hostile/hostile_tests --gtest_brief=1

heading "50,000 exchanges in one process"
report_of soak build/release/tests/soak/soak

heading "Fuzzers, $seconds seconds each"
tests/fuzz/run.sh "$seconds"
