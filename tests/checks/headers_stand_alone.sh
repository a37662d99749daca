#!/usr/bin/env bash
# Each public header compiles by itself as strict C99 and as C++17, the C++ face
# as C++17 and C++20 with nothing that a program may have switched off.
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

unit=$(unit_of qnstack/qnstack.hpp)
for standard in c++17 c++20; do
  "$cxx" -std=$standard "${flags[@]}" -fno-exceptions -fno-rtti -x c++ - <<<"$unit"
  echo "qnstack/qnstack.hpp: $standard"
done
# It leaves no macro behind but its guard and those of what it includes.
macros_of() {
  "$cxx" -std=c++17 -I"$include" -dM -E -x c++ - | sort
}
added=$(comm -13 <(grep '^#include' "$include/qnstack/qnstack.hpp" | macros_of) <(macros_of <<<"$unit"))
[[ $added =~ ^'#define QNSTACK_QNSTACK_HPP'\ *$ ]] || {
  printf 'macros of qnstack.hpp:\n%s\n' "$added"
  exit 1
}
