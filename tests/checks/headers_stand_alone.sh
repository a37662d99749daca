#!/usr/bin/env bash
# Each public header compiles by itself as strict C99 and as C++17.
# usage: headers_stand_alone.sh INCLUDE-FOLDER CC CXX
set -euo pipefail
flags=(-Wall -Wextra -Wconversion -Wshadow -Wformat=2 -Werror -pedantic -I"$1" -fsyntax-only)

for header in "$1"/qnstack/*.h; do
  name=qnstack/$(basename "$header")
  # A second inclusion finds a missing guard; the declaration makes the unit
  # one that C accepts.
  unit=$(printf '#include "%s"\n#include "%s"\ntypedef int not_empty;\n' "$name" "$name")
  "$2" -std=c99 "${flags[@]}" -x c - <<<"$unit"
  "$3" -std=c++17 "${flags[@]}" -x c++ - <<<"$unit"
  echo "$name: C99 and C++17"
done
