#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# What SECURITY.md says and the table of docs/testing.md that names tests for it
# agree: the words of each row stand in SECURITY.md, each point there has a row, and
# each test, fuzzer and check of a row is in the sources.
# usage: promised_tests.sh ROOT
# shellcheck disable=SC2016  # backquotes of Markdown
set -euo pipefail
export LC_ALL=C
cd "$1"

bad=0
complain() {
  echo "$*"
  bad=1
}

# The rows of the table, each as "words|tests".
rows=$(sed -n '/^## What `SECURITY.md` promises/,/^## [^W]/p' docs/testing.md |
  sed -n 's/^| \(.*\) | \(.*`.*`.*\) |$/\1|\2/p')

# The points of SECURITY.md, one a line, from its sections behind the first.
points=$(sed '1,/^## What the library promises/d; /^## Reporting/,$d' SECURITY.md |
  awk '/^- / { if (point != "") print point; point = $0; next }
       /^ / && point != "" { sub(/^ */, " "); point = point $0; next }
       { if (point != "") print point; point = "" }
       END { if (point != "") print point }')
text=$(tr '\n' ' ' <SECURITY.md | tr -s ' ')

# Every test as Suite.Name, also where its macro goes over two lines.
tests=$(find tests -name '*_test.cpp' -exec cat {} + | tr '\n' ' ' |
  grep -oE '\bTEST(_F|_P)?\( *[A-Za-z0-9_]+, *[A-Za-z0-9_]+\)' |
  sed -E 's/^TEST(_F|_P)?\( *//; s/, */./; s/\)$//' | sort -u)

is_there() { # NAME
  case $1 in
    *_fuzzer) [[ -f tests/fuzz/$1.cpp ]] ;;
    checks.*) grep -qF -e "/${1#checks.}.sh" tests/checks/CMakeLists.txt ;;
    *) grep -qxF -e "$1" <<<"$tests" ;;
  esac
}

promises=0 named=0
while IFS='|' read -r words names; do
  promises=$((promises + 1))
  [[ $text == *"$words"* ]] || complain "SECURITY.md does not say: $words"
  while read -r name; do
    named=$((named + 1))
    is_there "$name" || complain "no such test: $name, for: $words"
  done < <(grep -oE '`[^`]+`' <<<"$names" | tr -d '`')
done <<<"$rows"

# Points that no test can hold: they tell the caller what to do, or not.
without_tests='Choose file names yourself|Format only your own texts|Use one thread'
while read -r point; do
  [[ $point =~ $without_tests ]] && continue
  found=0
  while IFS='|' read -r words _; do
    if [[ $point == *"$words"* ]]; then found=1; fi
  done <<<"$rows"
  [[ $found == 1 ]] || complain "docs/testing.md names no test for: $point"
done <<<"$points"

echo "$promises promises, $named tests"
[[ $bad == 0 && $promises -gt 0 && $named -gt 0 && -n $points ]]
