#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# What the documents name is there: each `qn::` name in the sources of the library,
# each exported name in the list, each helper of the tests in a support folder,
# and each path in the tree.
# usage: named_things.sh ROOT
# shellcheck disable=SC2016  # backquotes of Markdown
set -euo pipefail
export LC_ALL=C
cd "$1"
documents=(CONTRIBUTING.md README.md SECURITY.md docs/*.md docs/pages/*.md)

# Whether a word stands in the code below some folders, comments left out.
is_in_code() { # WORD FOLDER...
  local word=$1
  shift
  grep -rhw --include='*.h' --include='*.cpp' --include='*.cmake' -e "$word" "$@" |
    sed 's://.*::' | grep -qw -e "$word"
}

bad=0 count=0
complain() {
  echo "$1: $2 is named and is not there"
  bad=1
}
for document in "${documents[@]}"; do
  while read -r name; do
    count=$((count + 1))
    is_in_code "${name#qn::}" qnstack || complain "$document" "$name"
  done < <(grep -oE 'qn::[A-Za-z_]+' "$document" | sort -u)
  while read -r name; do
    count=$((count + 1))
    grep -qx -e "$name" cmake/exports.txt || complain "$document" "$name"
  done < <(grep -oE '\bfn(QN|CharSet)[A-Za-z]*_[A-Za-z_0-9]+' "$document" | sort -u)
done
while read -r name; do
  count=$((count + 1))
  is_in_code "$name" support tests/support tests/posix || complain CONTRIBUTING.md "$name"
done < <(sed -n '/^## Tests/,/^## /p' CONTRIBUTING.md | grep -oE '`([A-Z][a-z]+){2,}`' | tr -d '`' | sort -u)
while read -r path; do
  count=$((count + 1))
  [[ -e $path ]] || complain CONTRIBUTING.md "$path"
done < <(grep -oE '`(include|qnstack|cmake|docs|support|tests|packaging|bench|examples)/[a-zA-Z0-9_./-]*`' CONTRIBUTING.md |
  grep -v '[A-Z*]\{4\}' | tr -d '`' | sort -u)
echo "$count names"
[[ $bad == 0 && $count -gt 0 ]]
