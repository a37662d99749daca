#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds GoogleTest with Clang and libc++ into a folder, from the sources that
# Debian has of it: what is installed is made for another C++ library.
# usage: libcxx_gtest.sh FOLDER
set -euo pipefail
folder=$(realpath -m "$1")
[[ ! -e $folder/ready ]] || exit 0
cmake -G Ninja -S /usr/src/googletest -B "$folder/build" -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_C_COMPILER=clang \
  -DCMAKE_CXX_FLAGS=-stdlib=libc++ -DCMAKE_CXX_STANDARD=20 \
  -DCMAKE_INSTALL_PREFIX="$folder" >/dev/null
cmake --build "$folder/build" --parallel "$(nproc)" --target install >/dev/null
touch "$folder/ready"
