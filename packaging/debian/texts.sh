#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Lays out what Debian wants in each package besides the installed files, one
# folder per package: who holds the rights, what changed, and its manual page.
# usage: texts.sh OUTPUT MAN-PAGES VERSION CONTACT PACKAGE[:PAGE]...
set -euo pipefail
mkdir -p "$1"
output=$(realpath "$1") man=$(realpath "$2") version=$3 contact=$4
shift 4
cd "$(dirname "$0")/../.."

compress() { # FILE
  gzip -9n >"$1"
  chmod 644 "$1"
}

changelog() {
  printf 'qnstack (%s) unstable; urgency=medium\n\n' "$version"
  printf '  * Version %s; changelog.gz says what is in it.\n\n' "${version%-*}"
  printf ' -- %s  %s\n' "$contact" "$(date -uR -d "@$(cmake/source_date.sh)")"
}

for entry in "$@"; do
  package=${entry%%:*}
  rm -rf "${output:?}/$package"
  doc=$output/$package/doc/$package
  mkdir -p "$doc"
  install -m 644 packaging/debian/copyright "$doc"
  changelog | compress "$doc/changelog.Debian.gz"
  compress "$doc/changelog.gz" <CHANGELOG.md
  if [[ $entry == *:* ]]; then
    page=${entry#*:}
    mkdir -p "$output/$package/man/man${page##*.}"
    compress "$output/$package/man/man${page##*.}/$page.gz" <"$man/$page"
  fi
done
