#!/usr/bin/env bash
# Installs the build into a temporary folder, then compiles, links and runs a
# C99 and a C++ program there, against the shared and the static library.
# usage: installed_tree.sh BUILD-FOLDER CMAKE CC CXX SANITIZERS
set -euo pipefail
build=$1 cmake=$2 cc=$3 cxx=$4 sanitize=$5
here=$(cd "$(dirname "$0")" && pwd)

prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
"$cmake" --install "$build" --prefix "$prefix" >/dev/null
library=$(dirname "$(find "$prefix" -name libqnstack.so)")

flags=(-Wall -Wextra -Wconversion -Wshadow -Werror -pedantic -I"$prefix/include")
[[ -z $sanitize ]] || flags+=("-fsanitize=$sanitize")
apr=$(pkg-config --libs apr-1)

run() {
  echo "$1"
  LD_LIBRARY_PATH=$library "$prefix/$1" >/dev/null
}

"$cc" -std=c99 "${flags[@]}" "$here/consumer.c" -o "$prefix/c_shared" -L"$library" -lqnstack
"$cxx" -std=c++17 "${flags[@]}" "$here/consumer.cpp" -o "$prefix/cpp_shared" -L"$library" -lqnstack
# shellcheck disable=SC2086  # a list of flags
"$cc" -std=c99 "${flags[@]}" "$here/consumer.c" -o "$prefix/c_static" "$library/libqnstack.a" $apr -lm
run c_shared
run cpp_shared
run c_static
