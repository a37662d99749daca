#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Each public header compiles by itself: those of the interface as strict C99
# and as C++17, those of the C++ face as C++17 with nothing that a program may
# have switched off, and they leave no macro behind but their guard.
# usage: headers_stand_alone.sh INCLUDE-FOLDER CC CXX
set -euo pipefail
include=$1 cc=$2 cxx=$3
flags=(-Wall -Wextra -Wconversion -Wshadow -Wformat=2 -Werror -pedantic -I"$include" -fsyntax-only)

# A second inclusion finds a missing guard; the declaration makes the unit one
# that C accepts.
unit_of() { # HEADER
  printf '#include "%s"\n#include "%s"\ntypedef int not_empty;\n' "$1" "$1"
}

for header in "$include"/qnstack/*.h; do
  name=qnstack/$(basename "$header")
  unit=$(unit_of "$name")
  "$cc" -std=c99 "${flags[@]}" -x c - <<<"$unit"
  "$cxx" -std=c++17 "${flags[@]}" -x c++ - <<<"$unit"
  echo "$name: C99 and C++17"
done

macros_of() {
  "$cxx" -std=c++17 -I"$include" -dM -E -x c++ - | sort
}

for header in "$include"/qnstack/*.hpp "$include"/qnstack/*/*.hpp; do
  name=${header#"$include/"}
  unit=$(unit_of "$name")
  "$cxx" -std=c++17 "${flags[@]}" -fno-exceptions -fno-rtti -x c++ - <<<"$unit"
  # The guard of qnstack/cpp/list.hpp is QNSTACK_CPP_LIST_HPP.
  guard=${name//[\/.]/_}
  # Beyond the macros of what it includes.
  added=$(comm -13 <(grep '^#include' "$header" | macros_of) <(macros_of <<<"$unit"))
  [[ $added =~ ^"#define ${guard^^}"\ *$ ]] || {
    printf 'macros of %s:\n%s\n' "$name" "$added"
    exit 1
  }
  echo "$name: C++17"
done
