#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the libraries and qnget by CMake alone, in build/plain, with debug
# information, which names more than anything else does where it was made.
# usage: plain.sh
set -euo pipefail
cd "$(dirname "$0")/.."

CXXFLAGS="${CXXFLAGS:-} -g" cmake -S . -B build/plain --fresh -DQNSTACK_BUILD_TESTS=OFF >/dev/null
cmake --build build/plain --parallel "$(nproc)" --target \
  qnstack qnstack_posix qnstack_static qnstack_posix_static qnget qnget_installed >/dev/null
