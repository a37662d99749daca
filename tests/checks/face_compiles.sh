#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# A program on the C++ face compiles in every standard from C++17 on, with and
# without exceptions and run-time types, under the warnings that users switch
# on; before C++17 the face says in one sentence what it needs.
# usage: face_compiles.sh INCLUDE-FOLDER PROGRAM CXX
set -euo pipefail
include=$1 program=$2 cxx=$3
flags=(-I"$include" -fsyntax-only)
warnings=(-Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast -Wundef
  -Wnon-virtual-dtor -Woverloaded-virtual -Werror)

for standard in c++17 c++20 c++2b; do
  "$cxx" -std=$standard "${flags[@]}" "${warnings[@]}" "$program"
  "$cxx" -std=$standard "${flags[@]}" "${warnings[@]}" -fno-exceptions -fno-rtti "$program"
  echo "$standard: compiles"
done

for standard in c++11 c++14; do
  said=$("$cxx" -std=$standard "${flags[@]}" -x c++ - 2>&1 <<<'#include "qnstack/qnstack.hpp"') && {
    echo "$standard: compiles, and should not"
    exit 1
  }
  [[ $said == *'qnstack.hpp needs C++17 or later'* && $(grep -c 'error:' <<<"$said") -eq 1 ]] || {
    printf '%s:\n%s\n' "$standard" "$said"
    exit 1
  }
  echo "$standard: refused"
done
