#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# qnstack(3) as Markdown: the frame with the headers' own conventions and
# briefs, and the README's sample.
# usage: qnstack_text.sh FRAME   (in the project's root)
set -euo pipefail

conventions() {
  sed -n '/^ \* What holds for every function/,/^ \*\//{/^ \* -/,/^ \*\//p}' include/qnstack/qnstack.h |
    sed -e '/^ \*\//d' -e 's/^ \* \?//' -e 's/\(fn[A-Za-z_]*\)()/**\1**()/g'
}

# Each header's brief, up to its first empty line.
headers() {
  awk '
    FNR == 1 { name = FILENAME; sub(/.*\//, "", name); brief = "" }
    /^ \* @brief / { sub(/^ \* @brief */, ""); brief = $0; next }
    brief != "" && /^ \*( *$|\/)/ { printf "- **%s**: %s\n", name, brief; nextfile }
    brief != "" { sub(/^ \* */, ""); brief = brief " " $0 }' include/qnstack/qn_*.h include/qnstack/Transcode.h |
    sed 's/#\([A-Za-z]\)/\1/g'
}

# The first one is the first program.
sample() {
  awk '/^```c$/ { inside = 1 } inside { print } inside && /^```$/ { exit }' README.md
}

while IFS= read -r line; do
  case $line in
    @conventions@) conventions ;;
    @headers@) headers ;;
    @sample@) sample ;;
    *) printf '%s\n' "$line" ;;
  esac
done <"$1"
