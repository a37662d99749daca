#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Makes the reference (OUTPUT/html) and the man pages (OUTPUT/man), and fails on
# any warning: of doxygen, of the man program, of a constant without documentation,
# or because a committed picture is older than its source.
# usage: build.sh OUTPUT QNGET
set -euo pipefail
mkdir -p "$1"
output=$(realpath "$1") qnget=$(realpath "$2")
cd "$(dirname "$0")/.."
version=$("$qnget" --version | cut -d' ' -f2)

# Pages carry the date of the last change, not of their making.
SOURCE_DATE_EPOCH=$(cmake/source_date.sh)
export SOURCE_DATE_EPOCH
day=$(date -u -d "@$SOURCE_DATE_EPOCH" +%F)

reference() {
  rm -rf "$output/html"
  QNSTACK_DOCS=$output QNSTACK_VERSION=$version doxygen docs/Doxyfile
}

program_page() {
  QNGET=$qnget help2man --no-info --section=1 --include=docs/man/qnget.h2m docs/man/qnget_help.sh |
    sed -e 's/^\.SS "Exit codes:"$/.SH "EXIT STATUS"/' -e 's/^\.SS "Settings:"$/.SH SETTINGS/' \
      -e '/^\.SS/s/:"$/"/' \
      -e "/^\.TH/s/\"[A-Z][a-z]* [0-9]*\"/\"$day\"/" >"$output/man/qnget.1"
}

library_page() {
  docs/man/qnstack_text.sh docs/man/qnstack.3.md |
    lowdown -s -Tman -Mtitle=QNSTACK -Msection=3 -Msource="qnstack $version" \
      -Mvolume="Library Functions Manual" -Mdate="$day" --out-no-smarty --parse-no-intraemph - |
    # An empty paragraph behind a heading is one too many, and fC is no font everywhere.
    sed -e '/^\.SH/,/^\.LP/{/^\.LP$/d}' -e 's/\\fC/\\fB/g' >"$output/man/qnstack.3"
}

check_page() { # FILE
  local complaints
  complaints=$(MANWIDTH=80 man --warnings -E UTF-8 -l "$1" 2>&1 >/dev/null || echo "man failed")
  complaints+=$(mandoc -T lint -W warning "$1" 2>&1 || true)
  complaints+=$(lexgrog "$1" 2>&1 >/dev/null || echo "no NAME line")
  [[ -z $complaints ]] || {
    printf '%s:\n%s\n' "$1" "$complaints" >&2
    return 1
  }
}

# What a picture says, without where: that depends on the fonts at hand.
words_of() {
  grep -oE '<(title|text)[^>]*>[^<]*' | sed 's/<[^>]*>//'
}

check_pictures() {
  local source
  for source in docs/diagrams/architecture.dot docs/diagrams/context.dot; do
    diff -q <(dot -Tsvg "$source" | words_of) <(words_of <"${source%.dot}.svg") >/dev/null || {
      echo "$source: the picture beside it is another; dot -Tsvg makes it anew" >&2
      return 1
    }
  done
}

# Doxygen does not miss what an enumeration and its constants are for.
check_constants() {
  awk '
    function complain() {
      printf "%s:%d: %s: no documentation\n", FILENAME, FNR, $0 > "/dev/stderr"
      bad = 1
    }
    /^(typedef )?enum/ { inside = 1; if (before !~ /\*\/$/) complain() }
    /^}/ { inside = 0 }
    inside && /^  [A-Za-z_0-9]+ *[=,]/ { count++; if (!/\/\*\*</) complain() }
    { before = $0 }
    END { exit bad || count == 0 }' include/qnstack/*.h
}

mkdir -p "$output/man"
check_pictures
check_constants
reference
program_page
library_page
check_page "$output/man/qnget.1"
check_page "$output/man/qnstack.3"
echo "$output: html/index.html, man/qnget.1, man/qnstack.3"
