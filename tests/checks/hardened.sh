#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# A fault in the library or program FILE, made of the OBJECTs, is hard to use: the
# stack is guarded and not executed, what the linker wrote cannot be changed while
# it runs, and no library is looked for in the working directory. The bounds of
# memory are looked at where the compiler optimises.
# usage: hardened.sh optimised|plain FILE OBJECT...
set -euo pipefail
export LC_ALL=C
optimised=$1 file=$2
shift 2

header=$(readelf -hW "$file")
segments=$(readelf -lW "$file")
dynamic=$(readelf -dW "$file")
called=$(nm -D --undefined-only "$file" | sed 's/^ *U //; s/@.*//')

failures=0
expect() { # WHAT COMMAND...
  local what=$1
  shift
  if "$@"; then
    echo "yes: $what"
  else
    echo "NO: $what"
    failures=$((failures + 1))
  fi
}

# A pattern stands in one of the texts above.
shows() { # TEXT PATTERN
  grep -Eq -- "$2" <<<"$1"
}
shows_not() { # TEXT PATTERN
  ! shows "$@"
}

# Folders in which libraries are looked for: from the file itself, or whole paths.
looks_in_safe_folders() {
  local folders
  folders=$(sed -nE 's/.*\((RPATH|RUNPATH)\).*\[(.*)\]/\2/p' <<<"$dynamic")
  [[ -z $folders ]] || ! tr ':' '\n' <<<"$folders" | grep -Evq '^([$]ORIGIN|/)'
}

# Each object says that its calls and jumps arrive where they may. What it is
# linked with besides, as the C library's start files, may not say so.
objects_guard_jumps() { # OBJECT...
  local object
  for object in "$@"; do
    readelf -nW "$object" | grep -Eq "feature: .*$feature" || {
      echo "$object: no $feature"
      return 1
    }
  done
}

expect "loaded at any address" shows "$header" 'Type: +DYN'
expect "no address is written into its code" shows_not "$dynamic" 'TEXTREL'
expect "relocated data is read-only" shows "$segments" 'GNU_RELRO'
expect "all symbols are bound at the start" shows "$dynamic" 'BIND_NOW|Flags: .*NOW'
expect "the stack is not executed" shows "$segments" 'GNU_STACK .* RW +0x'
expect "the stack is guarded" shows "$called" '^__stack_chk_fail$'
expect "libraries come from safe folders" looks_in_safe_folders
if [[ $optimised == optimised ]]; then
  expect "bounds of memory are looked at" shows "$called" '^__[a-z]+_chk$'
fi
case $header in
  *X86-64* | *80386*) feature='IBT, SHSTK' ;;
  *AArch64*) feature='BTI, PAC' ;;
  *) feature='' ;;
esac
if [[ -n $feature ]]; then
  expect "calls and jumps are guarded in $# objects" objects_guard_jumps "$@"
fi
[[ $failures -eq 0 ]]
