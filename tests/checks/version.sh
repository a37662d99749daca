#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Prints the version that stands in the header. Fails if the changelog's latest
# entry, or a version that something was built with, is another.
# usage: version.sh ROOT [BUILT]
set -euo pipefail
cd "$1"

header=$(sed -n 's/^#define QNSTACK_VERSION_\(MAJOR\|MINOR\|PATCH\) //p' include/qnstack/qn_version.h |
  paste -sd .)
latest=$(sed -n '/^## /{s/^## \([^ ]*\).*/\1/p;q}' CHANGELOG.md)
for other in "$latest" "${2:-$header}"; do
  [[ $other == "$header" ]] || {
    echo "the header's version is $header, another is '$other'" >&2
    exit 1
  }
done
echo "$header"
