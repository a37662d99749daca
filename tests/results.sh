#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Counts what test programs have reported below BUILD/reports: tests, and how many
# of them failed and were skipped. One that ran in several orders counts once, and as
# failed if it failed in any.
# usage: results.sh BUILD
set -euo pipefail

shopt -s nullglob
reports=("$1"/reports/*.xml)
[[ ${#reports[@]} -gt 0 ]] || { echo "0 0 0"; exit; }
awk '
  function value_of(attribute) {
    if (!match($0, " " attribute "=\"[^\"]*\"")) return ""
    return substr($0, RSTART + length(attribute) + 3, RLENGTH - length(attribute) - 4)
  }
  FNR == 1 {
    program = FILENAME
    sub(/.*\//, "", program)
    sub(/\.[0-9]+\.xml$/, "", program)
  }
  /<testcase / {
    test = program " " value_of("classname") "." value_of("name")
    seen[test] = 1
    if (value_of("result") == "skipped") skipped[test] = 1
  }
  /<failure / { failed[test] = 1 }
  END { print length(seen), length(failed), length(skipped) }
' "${reports[@]}"
