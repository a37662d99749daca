#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Compares the binary interface of both libraries with the committed baseline,
# and fails where a program that was linked against that may no longer work.
# What was added breaks nobody. The libraries differ in nothing but their names,
# so that one baseline holds for both; --update writes it anew.
# usage: compare.sh BUILD-FOLDER [--update]   (the build has debug information)
set -euo pipefail
build=$(realpath "$1") mode=${2:-}
cd "$(dirname "$0")/../.."
# Sizes and offsets are those of one kind of machine.
machine=$(gcc -dumpmachine)
baseline=cmake/abi/$machine.abi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# A library's interface as text: what the public headers declare, under the
# names of the first library, wherever it was built.
interface() { # LIBRARY
  abidw --headers-dir include --drop-private-types --exported-interfaces-only \
    --no-corpus-path --no-comp-dir-path --no-show-locs --no-parameter-names --type-id-style hash \
    "$build/lib$1.so" |
    sed -e "s# path='$PWD/# path='#" -e "s/'lib$1\.so/'libqnstack.so/" \
      -e "s/\(['@]\)QNSTACK_POSIX_/\1QNSTACK_/g"
}

if [[ $mode == --update ]]; then
  interface qnstack >"$baseline"
  echo "$baseline: $(grep -c '<elf-symbol ' "$baseline") names"
elif [[ ! -e $baseline ]]; then
  echo "no baseline for $machine; --update writes one" >&2
  exit 1
fi

failed=0
for library in qnstack qnstack_posix; do
  interface "$library" >"$work/$library.abi"
  if abidiff --no-added-syms "$baseline" "$work/$library.abi" >"$work/report" 2>&1; then
    echo "lib$library: nothing that breaks callers"
  else
    cat "$work/report"
    echo "lib$library: this differs from $baseline" >&2
    failed=1
  fi
done
[[ $failed -eq 0 ]] || {
  cat >&2 <<'TEXT'
If callers break, the major version in include/qnstack/qn_version.h must grow.
Where it has grown, or no caller can see the difference: ./run abi --update
TEXT
  exit 1
}
